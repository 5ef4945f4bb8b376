// Runs a command several times and prints one line of what the slowest run took.
// Usage: measure RUNS WAITS [--alone] COMMAND [ARG...]
// Prints: wall milliseconds, milliseconds beyond WAITS, processor milliseconds of all its
// processes (with --alone: of its first one), KiB of the largest one, and the fewest device lines
// of a run.
#include "io/stream.h"
#include "io/wait.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

struct measurement {
    int64_t wall_us = 0;
    int64_t processor_us = 0;
    long largest_kib = 0;
    long devices = 0;
};

int64_t microseconds(const struct timeval &time)
{
    return time.tv_sec * MICROSECONDS_PER_SECOND + time.tv_usec;
}

/// Counts the lines that begin with "ip: ".
long count_devices(FILE *output)
{
    long count = 0;
    std::array<char, 4096> line = {};
    while (fgets(line.data(), static_cast<int>(line.size()), output) != nullptr)
        count += strncmp(line.data(), "ip: ", 4) == 0 ? 1 : 0;
    return count;
}

/// Processor time of a process that has ended and was not waited for, its children's not counted.
int64_t own_processor_us(pid_t process)
{
    clockid_t clock = {};
    struct timespec used = {};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &used) != 0)
        return -1;
    return used.tv_sec * MICROSECONDS_PER_SECOND + used.tv_nsec / 1000;
}

/// Runs the command once. Returns false when it cannot be run.
bool measure_once(char **command, bool alone, measurement *result)
{
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        return false;
    const int64_t start = monotonic_us();
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        execvp(command[0], command);
        _exit(127);
    }
    close(ends[1]);
    const file_stream output(fdopen(ends[0], "r"));
    if (child < 0 || !output)
        return false;
    result->devices = count_devices(output.get());
    siginfo_t ended = {};
    waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
    const int64_t own_us = own_processor_us(child);
    int status = 0;
    struct rusage usage = {};
    if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return false;
    result->wall_us = monotonic_us() - start;
    result->processor_us =
        alone ? own_us : microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
    result->largest_kib = usage.ru_maxrss;
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    const bool alone = argc > 3 && strcmp(argv[3], "--alone") == 0;
    const int first = alone ? 4 : 3;
    if (argc <= first) {
        fputs("usage: measure RUNS WAITS [--alone] COMMAND [ARG...]\n", stderr);
        return EXIT_FAILURE;
    }
    const long runs = strtol(argv[1], nullptr, 10);
    const long waits_ms = strtol(argv[2], nullptr, 10);
    measurement worst;
    for (long i = 0; i < runs; ++i) {
        measurement run;
        if (!measure_once(argv + first, alone, &run)) {
            fprintf(stderr, "measure: %s failed\n", argv[first]);
            return EXIT_FAILURE;
        }
        worst.devices = i == 0 ? run.devices : std::min(worst.devices, run.devices);
        worst.wall_us = std::max(worst.wall_us, run.wall_us);
        worst.processor_us = std::max(worst.processor_us, run.processor_us);
        worst.largest_kib = std::max(worst.largest_kib, run.largest_kib);
    }
    const double wall_ms = static_cast<double>(worst.wall_us) / 1000;
    printf("%.0f %.0f %.0f %ld %ld\n", wall_ms, wall_ms - static_cast<double>(waits_ms),
           static_cast<double>(worst.processor_us) / 1000, worst.largest_kib, worst.devices);
    return EXIT_SUCCESS;
}
