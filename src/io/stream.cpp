// The careful opening of configuration files.
#include "io/stream.h"

#include <fcntl.h>
#include <sys/stat.h>

file_stream open_regular_file(const char *path)
{
    descriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (file.fd < 0 || fstat(file.fd, &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > CONFIGURATION_SIZE_MAX)
        return nullptr;
    file_stream stream(fdopen(file.fd, "r"));
    if (stream)
        file.release();
    return stream;
}
