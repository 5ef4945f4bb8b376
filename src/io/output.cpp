// Whether anybody still reads what the process prints.
#include "io/output.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// SIGIO also comes when somebody has read from a pipe that was full.
void on_output_change(int)
{
    const int saved_errno = errno;
    struct pollfd output = {STDOUT_FILENO, 0, 0};
    if (poll(&output, 1, 0) > 0 && (output.revents & (POLLERR | POLLHUP)) != 0)
        _exit(EXIT_FAILURE);
    errno = saved_errno;
}

} // namespace

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

void end_once_unread()
{
    const int fd = watched_output();
    if (fd < 0)
        return;
    struct sigaction action = {};
    action.sa_handler = on_output_change;
    action.sa_flags = SA_RESTART;
    sigaction(SIGIO, &action, nullptr);
    fcntl(fd, F_SETOWN, getpid());
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_ASYNC);
    end_when_unread(); // it may have gone before
}

void end_when_unread(short revents)
{
    if ((revents & (POLLERR | POLLHUP)) != 0)
        exit(EXIT_FAILURE);
}
