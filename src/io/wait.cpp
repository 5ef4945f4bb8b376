// Bounded waits for descriptors, and the clock that they are measured by.
#include "io/wait.h"

#include "io/output.h"

#include <cerrno>
#include <poll.h>

int64_t monotonic_us()
{
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * MICROSECONDS_PER_SECOND + now.tv_nsec / 1000;
}

struct timespec timespec_of(int64_t us)
{
    // Both fields have 32 bits on some systems.
    return {static_cast<time_t>(us / MICROSECONDS_PER_SECOND),
            static_cast<long>(us % MICROSECONDS_PER_SECOND * 1000)};
}

int wait_for(int fd, short events, int64_t timeout_us)
{
    return wait_for_either(fd, -1, events, timeout_us);
}

int wait_for_either(int fd, int other_fd, short events, int64_t timeout_us)
{
    if (timeout_us < 0)
        timeout_us = 0;
    struct pollfd waited[] = {{fd, events, 0}, {other_fd, events, 0}, {watched_output(), 0, 0}};
    const struct timespec timeout = timespec_of(timeout_us);
    const int ready = ppoll(waited, 3, &timeout, nullptr);
    end_when_unread(waited[2].revents);
    if (ready > 0 && ((waited[0].revents | waited[1].revents) & POLLNVAL) != 0) {
        errno = EBADF;
        return -1;
    }
    return ready > 0 ? 1 : ready;
}
