// The signals that interrupt a parent, so that it can take its children along.
#include "driver/signals.h"

#include "io/wait.h"
#include "log/log.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace
{

constexpr int INTERRUPTIONS[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr int SHELL_STATUS_OF_SIGNAL = 128;

volatile sig_atomic_t first_interruption = 0;

/// A report that is being printed ends here. To print into nothing also frees a process that waits
/// for a reader which takes no more.
void on_interruption(int signal)
{
    const int saved_errno = errno;
    if (first_interruption == 0)
        first_interruption = signal;
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) {
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    errno = saved_errno;
}

sigset_t interruption_set()
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : INTERRUPTIONS)
        sigaddset(&set, signal);
    return set;
}

} // namespace

void catch_interruptions()
{
    for (const int signal : INTERRUPTIONS) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
            continue;
        // Without SA_RESTART: a write that nobody takes is to end too. Without SA_RESETHAND: a
        // second signal would end the process between stopping and killing a child.
        action.sa_handler = on_interruption;
        action.sa_mask = interruption_set();
        sigaction(signal, &action, nullptr);
    }
}

int interrupted_by()
{
    return first_interruption;
}

int poll_until_interrupted(struct pollfd *polled, nfds_t count, int64_t timeout_us)
{
    const struct timespec limit = timespec_of(timeout_us);
    const sigset_t interruptions = interruption_set();
    sigset_t before;
    sigprocmask(SIG_BLOCK, &interruptions, &before);
    int ready = -1;
    errno = EINTR;
    if (first_interruption == 0)
        ready = ppoll(polled, count, timeout_us < 0 ? nullptr : &limit, &before);
    const int reason = errno;
    sigprocmask(SIG_SETMASK, &before, nullptr);
    errno = reason;
    return ready;
}

void end_by_signal(int signal)
{
    log_cleanup();
    ::signal(signal, SIG_DFL);
    raise(signal);
    _exit(SHELL_STATUS_OF_SIGNAL + signal);
}
