// Texts from elsewhere, made safe to print.
#pragma once

#include <cstddef>

/// Copies `text` into `destination`, cut to `size` - 1 bytes and always terminated, with a blank
/// for each byte that could break the line in two, turn it round or reach the terminal: control
/// bytes; in UTF-8 the control characters U+0080 to U+009F, the line and paragraph separators and
/// the marks of writing direction; and a byte from 0x80 to 0x9F outside UTF-8, a control byte of
/// the 8-bit character sets. All other bytes pass. Returns `destination`.
char *printable_text(char *destination, const char *text, size_t size);
