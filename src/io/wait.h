// Bounded waits for descriptors, and the clock that they are measured by.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

struct pollfd;

constexpr int64_t MICROSECONDS_PER_MILLISECOND = 1000;
constexpr int64_t MICROSECONDS_PER_SECOND = 1000000;

/// Microseconds on a clock that no change of the system time moves.
int64_t monotonic_us();

/// The form in which the system takes a wait of 0 and more microseconds.
struct timespec timespec_of(int64_t us);

/// The shorter one of two waits, of which a negative one has no end.
int64_t shorter_wait(int64_t a_us, int64_t b_us);

/// Waits at most `timeout_us` microseconds (0 or less: not at all) until `fd` shows one of
/// `events` (POLLIN, POLLOUT) or is closed or broken, so that the next read or write returns at
/// once; ends the process as soon as nobody reads its output any more. Returns 1 when `fd` is
/// ready, 0 when the time is over, -1 when the wait failed (`errno`). Any descriptor number will
/// do.
int wait_or_end(int fd, short events, int64_t timeout_us);

constexpr size_t WAITED_MAX = 32;

/// The same for `count` descriptors, at most WAITED_MAX, each with its events: any of them ends
/// the wait, and their `revents` are filled in. Negative ones are passed over.
int wait_or_end_any(struct pollfd *waited, size_t count, int64_t timeout_us);
