// A program at a pseudo-terminal, and what is to be seen there.
#pragma once

#include "io/stream.h"
#include "program.h"
#include "scratch.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <vector>

/// A run of the program whose children are scripted; `cases` are the branches of a `case "$*"`.
struct scripted_run {
    scratch_folder folder;
    std::string script;

    explicit scripted_run(const std::string &cases)
        : script(folder.write("child", "#!/bin/bash\nhere='" + folder.path.string() +
                                           "'\ncase \"$*\" in\n" + cases + "\nesac\n"))
    {
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    }

    program_run with(const std::vector<std::string> &arguments) const
    {
        program_run run;
        run.executable = DEVSCOUT_PROGRAM;
        run.words = {script};
        run.words.insert(run.words.end(), arguments.begin(), arguments.end());
        return run;
    }

    /// Process numbers that the children have written.
    std::vector<pid_t> noted_processes() const
    {
        std::vector<pid_t> found;
        std::istringstream numbers(content_of(folder.path / "pids"));
        for (pid_t pid = 0; numbers >> pid;)
            found.push_back(pid);
        return found;
    }
};

/// A program at a pseudo-terminal, which is its controlling terminal and its standard error.
struct terminal_session {
    descriptor master;
    descriptor out; ///< what it prints; none where that goes to the terminal too
    pid_t pid = -1;
    std::string printed;
    std::string written; ///< on the terminal

    terminal_session(const program_run &run, bool output_too, unsigned short columns = 80)
    {
        master.reset(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
        const struct winsize size = {24, columns, 0, 0};
        int ends[2] = {-1, -1};
        if (grantpt(master.fd) != 0 || unlockpt(master.fd) != 0 ||
            ioctl(master.fd, TIOCSWINSZ, &size) != 0 || pipe2(ends, O_CLOEXEC) != 0)
            return;
        const std::string path = ptsname(master.fd);
        out.reset(ends[0]);
        const descriptor write_end(ends[1]);
        pid = fork();
        if (pid == 0)
            become(run, path, output_too ? -1 : write_end.fd);
        if (output_too)
            out.reset();
    }

    [[noreturn]] static void become(const program_run &run, const std::string &path, int out)
    {
        setsid();
        // A test that runs in the background of a shell has these ignored.
        for (const int caught : {SIGINT, SIGQUIT})
            signal(caught, SIG_DFL);
        const int terminal = open(path.c_str(), O_RDWR);
        dup2(terminal, STDIN_FILENO);
        dup2(out >= 0 ? out : terminal, STDOUT_FILENO);
        dup2(terminal, STDERR_FILENO);
        close(terminal);
        std::vector<char *> argv;
        for (const std::string &word : run.words)
            argv.push_back(const_cast<char *>(word.c_str()));
        argv.push_back(nullptr);
        execv(run.executable.empty() ? argv[0] : run.executable.c_str(), argv.data());
        _exit(126);
    }

    /// Reads until `shown` is on the terminal, or else to the end of both streams.
    void read_until(const std::string &shown)
    {
        struct pollfd streams[] = {{master.fd, POLLIN, 0}, {out.fd, POLLIN, 0}};
        std::string *const texts[] = {&written, &printed};
        while (streams[0].fd >= 0 || streams[1].fd >= 0) {
            if (!shown.empty() && written.find(shown) != std::string::npos)
                return;
            poll(streams, 2, -1);
            for (int i = 0; i < 2; ++i) {
                char buffer[4096];
                if (streams[i].fd < 0 || streams[i].revents == 0)
                    continue;
                const ssize_t received = read(streams[i].fd, buffer, sizeof buffer);
                if (received > 0)
                    texts[i]->append(buffer, static_cast<size_t>(received));
                else
                    streams[i].fd = -1;
            }
        }
    }

    /// Reads everything and returns the wait status.
    int finish()
    {
        read_until("");
        int status = 0;
        waitpid(pid, &status, 0);
        return status;
    }
};

/// What is to be seen in the end of what was written on a terminal, without blanks at the ends of
/// lines. An empty last line is left out.
inline std::string screen(const std::string &written)
{
    std::vector<std::string> lines(1);
    size_t column = 0;
    for (const char c : written) {
        if (c == '\n') {
            lines.emplace_back();
        } else if (c == '\r') {
            column = 0;
        } else {
            lines.back().resize(std::max(lines.back().size(), column + 1), ' ');
            lines.back()[column++] = c;
        }
    }
    std::string text;
    for (std::string &line : lines) {
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return lines.back().empty() ? text.substr(0, text.size() - 1) : text;
}

/// The status lines that were written, in order, the erasures left out.
inline std::vector<std::string> status_lines(const std::string &written)
{
    std::vector<std::string> found;
    std::istringstream pieces(written);
    for (std::string piece; std::getline(pieces, piece, '\r');) {
        const std::string line = piece.substr(0, piece.find_last_not_of(' ') + 1);
        if (!line.empty() && line.find('\n') == std::string::npos)
            found.push_back(line);
    }
    return found;
}
