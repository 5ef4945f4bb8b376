// The input of a fuzz target as a file.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

/// Puts the input into the one file in memory that all inputs share, and returns its path.
inline const char *input_file(const uint8_t *data, size_t size)
{
    static const int fd = memfd_create("input", MFD_CLOEXEC);
    static const std::string path = "/proc/self/fd/" + std::to_string(fd);
    if (ftruncate(fd, 0) != 0 || pwrite(fd, data, size, 0) != static_cast<ssize_t>(size))
        abort();
    return path.c_str();
}
