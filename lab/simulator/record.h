// The record of requests: one line for each request that a device received.
#pragma once

#include <string_view>
#include <sys/socket.h>

/// Starts the record in a new file. Returns 0, or -1 when it cannot be written (`errno`).
int record_open(const char *path);

/// Writes "SECONDS.MICROSECONDS PROTOCOL SOURCE:PORT > DESTINATION:PORT LENGTH HEX" ("-" for no
/// bytes) and flushes it. IPv6 addresses stand in brackets. Without a record nothing happens.
void record_request(const char *protocol, const sockaddr_storage &source,
                    const sockaddr_storage &destination, std::string_view bytes);
