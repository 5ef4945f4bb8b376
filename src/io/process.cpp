// Shell commands whose output is read, and the end of a process with all that it has started.
#include "io/process.h"

#include "io/stream.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr size_t NUMBER_SIZE = 16;
constexpr size_t PATH_SIZE = 64;

/// Starts the shell with `output` as its standard output. Returns 0, or an error number.
int spawn_shell(const char *command, int output, pid_t *pid)
{
    posix_spawn_file_actions_t actions;
    int failure = posix_spawn_file_actions_init(&actions);
    if (failure != 0)
        return failure;
    char shell[] = "sh";
    char option[] = "-c";
    char *const arguments[] = {shell, option, const_cast<char *>(command), nullptr};
    failure = posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    if (failure == 0)
        failure = posix_spawn(pid, "/bin/sh", &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    return failure;
}

/// Opens the list of a process's children; nullptr where the system does not tell them.
file_stream open_children(pid_t pid)
{
    // Where /proc is that of another container, its numbers stand for strangers.
    char self[NUMBER_SIZE] = "";
    if (readlink("/proc/self", self, sizeof self - 1) < 0 || strtol(self, nullptr, 10) != getpid())
        return nullptr;
    char path[PATH_SIZE];
    snprintf(path, sizeof path, "/proc/%d/task/%d/children", pid, pid);
    return file_stream(fopen(path, "re"));
}

} // namespace

FILE *open_command(const char *command, pid_t *pid)
{
    *pid = 0;
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        return nullptr;
    descriptor read_end(ends[0]);
    const descriptor write_end(ends[1]);
    // The stream comes first: a process without one could not be waited for.
    file_stream stream(fdopen(read_end.fd, "r"));
    if (!stream)
        return nullptr;
    read_end.release();
    const int failure = spawn_shell(command, write_end.fd, pid);
    if (failure != 0) {
        *pid = 0;
        errno = failure;
        return nullptr;
    }
    return stream.release();
}

int close_command(FILE *stream, pid_t pid, int *wait_status)
{
    *wait_status = 0;
    fclose(stream);
    return waitpid(pid, wait_status, 0) < 0 && errno == EINTR ? -1 : 0;
}

void kill_process_tree(pid_t pid)
{
    // A stopped process starts no other and keeps the numbers of those that have ended.
    kill(pid, SIGSTOP);
    const file_stream children = open_children(pid);
    char child[NUMBER_SIZE];
    while (children && fscanf(children.get(), "%15s", child) == 1)
        kill_process_tree(static_cast<pid_t>(strtol(child, nullptr, 10)));
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0); // of no effect on other processes' children
}
