// Hex dumps: offset, byte values and characters, 16 bytes per line. Those to standard output are
// for builds that look for a fault: nothing calls them here.
#pragma once

#include <cstdio>

/// Dumps `length` bytes to `stream`, between two title lines unless `title` is nullptr; a length
/// of 0 or less dumps no byte. Returns 0, or -1 when there is no stream.
int xdump_to(FILE *stream, const void *data, int length, const char *title);

/// Dumps to standard output.
int xdump(const void *data, int length);
int xdump_titled(const void *data, int length, const char *title);
