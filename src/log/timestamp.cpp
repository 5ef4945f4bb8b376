// Time stamps in local time.
#include "log/timestamp.h"

#include <cstdio>

char *format_timestamp(char *destination, size_t size, const struct timeval *precise,
                       const time_t *seconds, time_t plain_seconds)
{
    struct timeval chosen = {};
    if (precise != nullptr)
        chosen = *precise;
    else if (seconds != nullptr)
        chosen.tv_sec = *seconds;
    else if (plain_seconds != 0)
        chosen.tv_sec = plain_seconds;
    else
        gettimeofday(&chosen, nullptr);

    // A time whose year does not fit has no local form.
    const struct tm *broken_down = localtime(&chosen.tv_sec);
    const struct tm local = broken_down != nullptr ? *broken_down : tm();
    const int length =
        snprintf(destination, size, "%04d-%02d-%02d %02d:%02d:%02d.%06d", local.tm_year + 1900,
                 local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                 static_cast<int>(chosen.tv_usec));
    if (length < 0 && size > 0)
        destination[0] = '\0';
    return destination;
}

char *timestamp_now(char *destination, size_t size)
{
    return format_timestamp(destination, size, nullptr, nullptr, 0);
}

char *timestamp_str()
{
    static char text[TIMESTAMP_SIZE];
    return timestamp_now(text, sizeof text);
}
