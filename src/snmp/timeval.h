// Arithmetic on seconds-and-microseconds times.
#pragma once

#include <sys/time.h>

/// Writes `input` with microseconds below one million to `output`. Returns 0, -1 without both.
int timeval_normalize(const struct timeval *input, struct timeval *output);

/// Writes `to` - `from` to `difference`, unless that is nullptr. Returns 0, also for equal times;
/// -1 when `to` lies before `from` or a time is missing.
int timeval_subtract(const struct timeval *from, const struct timeval *to,
                     struct timeval *difference);
