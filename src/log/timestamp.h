// Time stamps in local time.
#pragma once

#include <cstddef>
#include <ctime>
#include <sys/time.h>

constexpr size_t TIMESTAMP_SIZE = 28; ///< "2026-11-16 09:05:03.000417" and its NUL

/// Writes a time in local time as "%04d-%02d-%02d %02d:%02d:%02d.%06d", cut to `size` - 1
/// characters. The time is `precise` where given; else `*seconds`, without microseconds; else
/// `plain_seconds` where it is not 0; else the current time. Returns `destination`.
char *format_timestamp(char *destination, size_t size, const struct timeval *precise,
                       const time_t *seconds, time_t plain_seconds);

/// Writes the current time. Returns `destination`.
char *timestamp_now(char *destination, size_t size);

/// The current time in a shared buffer of TIMESTAMP_SIZE bytes, overwritten by the next call.
char *timestamp_str();
