// Whether anybody still reads what the process prints.
#include "io/output.h"

#include <cstdlib>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

int watched_output()
{
    struct stat status = {};
    const bool read_by_somebody = fstat(STDOUT_FILENO, &status) == 0 &&
                                  (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
    return read_by_somebody ? STDOUT_FILENO : -1;
}

void end_when_unread()
{
    struct pollfd output = {watched_output(), 0, 0};
    if (output.fd >= 0 && poll(&output, 1, 0) > 0)
        end_when_unread(output.revents);
}

void end_when_unread(short revents)
{
    if ((revents & (POLLERR | POLLHUP)) != 0)
        exit(EXIT_FAILURE);
}
