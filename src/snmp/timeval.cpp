// Arithmetic on seconds-and-microseconds times.
#include "snmp/timeval.h"

namespace
{

constexpr long MICROSECONDS = 1000000;

} // namespace

int timeval_normalize(const struct timeval *input, struct timeval *output)
{
    if (input == nullptr || output == nullptr)
        return -1;
    const struct timeval given = *input;
    output->tv_sec = given.tv_sec + given.tv_usec / MICROSECONDS;
    output->tv_usec = given.tv_usec % MICROSECONDS;
    return 0;
}

int timeval_subtract(const struct timeval *from, const struct timeval *to,
                     struct timeval *difference)
{
    struct timeval start = {};
    struct timeval end = {};
    if (timeval_normalize(from, &start) != 0 || timeval_normalize(to, &end) != 0)
        return -1;
    struct timeval result = {end.tv_sec - start.tv_sec, end.tv_usec - start.tv_usec};
    if (result.tv_usec < 0) {
        result.tv_usec += MICROSECONDS;
        --result.tv_sec;
    }
    if (result.tv_sec < 0)
        return -1;
    if (difference != nullptr)
        *difference = result;
    return 0;
}
