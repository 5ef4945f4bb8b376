// Descriptors and streams that close themselves, and the careful opening of configuration files.
#pragma once

#include <cstdio>
#include <memory>
#include <unistd.h>

/// Owns a file descriptor; -1 stands for none. The descriptor is closed with the owner.
struct descriptor {
    int fd = -1;

    descriptor() = default;
    explicit descriptor(int owned) : fd(owned) {}
    descriptor(const descriptor &) = delete;
    descriptor &operator=(const descriptor &) = delete;
    ~descriptor()
    {
        reset();
    }

    /// Closes what is owned and takes `owned` instead.
    void reset(int owned = -1)
    {
        if (fd >= 0)
            close(fd);
        fd = owned;
    }

    /// Hands the descriptor to the caller, who closes it.
    int release()
    {
        const int handed = fd;
        fd = -1;
        return handed;
    }
};

struct file_closer {
    void operator()(FILE *stream) const
    {
        fclose(stream);
    }
};

/// A stdio stream that is closed with its owner.
using file_stream = std::unique_ptr<FILE, file_closer>;

/// Bytes of the largest configuration file that is read.
constexpr off_t CONFIGURATION_SIZE_MAX = 1 << 20;

/// Opens a configuration file for reading. Whatever is no regular file, and a file of more than
/// CONFIGURATION_SIZE_MAX bytes, counts as one that cannot be opened, so that no planted FIFO or
/// sparse file can hold the process up. Children do not inherit the descriptor.
file_stream open_regular_file(const char *path);
