// Running programs from a test: on their own, at a terminal, or in the lab network.
#include "program.h"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <set>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

namespace
{

constexpr int SKIPPED_STATUS = 77; // of tests, and of lab/lab, where no namespaces are to be had

/// Makes a pipe and returns the end to write to.
int open_pipe(descriptor *read_end)
{
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) == 0)
        read_end->reset(ends[0]);
    return ends[1];
}

/// Makes a pseudo-terminal and returns the end that a program has.
int open_terminal(descriptor *master, unsigned short columns)
{
    const struct winsize size = {24, columns, 0, 0};
    master->reset(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (grantpt(master->fd) != 0 || unlockpt(master->fd) != 0 ||
        ioctl(master->fd, TIOCSWINSZ, &size) != 0)
        return -1;
    return open(ptsname(master->fd), O_RDWR | O_NOCTTY | O_CLOEXEC);
}

[[noreturn]] void become(const program_run &run, int in, int out, int err)
{
    if (isatty(in) != 0) {
        setsid();
        ioctl(in, TIOCSCTTY, 0);
    }
    // Nothing may leave the host, were the program wrong. The lab makes a network of its own.
    const std::string user = std::to_string(getuid()); // nobody's, once in a namespace
    if (run.words[0] != LAB_COMMAND && unshare(CLONE_NEWNET) != 0) {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
            _exit(SKIPPED_STATUS);
        std::ofstream("/proc/self/uid_map") << user << " " << user << " 1"; // for strace
    }
    // A test that runs in the background of a shell, or by nohup, has these ignored.
    for (const int caught : {SIGINT, SIGQUIT, SIGHUP})
        signal(caught, SIG_DFL);
    std::vector<char *> argv;
    for (const std::string &word : run.words)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    execv(run.executable.empty() ? argv[0] : run.executable.c_str(), argv.data());
    _exit(126);
}

} // namespace

program_session::program_session(const program_run &run, const terminal_settings *terminal)
{
    const descriptor printing(terminal != nullptr && terminal->output_too ? -1 : open_pipe(&out));
    const descriptor writing(terminal != nullptr ? open_terminal(&err, terminal->columns)
                                                 : open_pipe(&err));
    const descriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    pid = fork();
    if (pid == 0)
        become(run, terminal != nullptr ? writing.fd : nothing.fd,
               printing.fd >= 0 ? printing.fd : writing.fd, writing.fd);
}

void program_session::read_until(const std::string &shown)
{
    struct pollfd streams[] = {{out.fd, POLLIN, 0}, {err.fd, POLLIN, 0}};
    std::string *const texts[] = {&printed, &written};
    while (streams[0].fd >= 0 || streams[1].fd >= 0) {
        if (!shown.empty() && written.find(shown) != std::string::npos)
            return;
        poll(streams, 2, -1);
        for (int i = 0; i < 2; ++i) {
            char buffer[65536];
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

int program_session::finish()
{
    read_until("");
    int status = -1;
    waitpid(pid, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == SKIPPED_STATUS) {
        fprintf(stderr, "no namespaces\n%s", written.c_str());
        _exit(SKIPPED_STATUS);
    }
    return status;
}

program_result run_program(const program_run &run)
{
    program_session session(run);
    const int status = session.finish();
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), session.printed,
            session.written};
}

scripted_run::scripted_run(const std::string &cases, const std::string &name)
    : script(folder.write(name, "#!/bin/bash\nhere='" + folder.path.string() +
                                    "'\ncase \"$*\" in\n" + cases + "\nesac\n"))
{
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
}

program_run scripted_run::with(const std::vector<std::string> &arguments) const
{
    program_run run = {{script}, DEVSCOUT_PROGRAM};
    run.words.insert(run.words.end(), arguments.begin(), arguments.end());
    return run;
}

program_run scripted_run::shell_run(const std::string &command,
                                    const std::vector<std::string> &arguments) const
{
    program_run run = with(arguments);
    const std::string as_script = "here=$0; set -- exec -a \"$2\" \"$1\" \"${@:3}\"\n";
    run.words.insert(run.words.begin(),
                     {"bash", "-c", as_script + command, folder.path, DEVSCOUT_PROGRAM});
    run.executable = "/bin/bash";
    return run;
}

std::string scripted_run::file(const char *name) const
{
    return content_of(folder.path / name);
}

std::vector<std::string> lines_of(const std::string &text)
{
    std::vector<std::string> found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        found.push_back(line);
    return found;
}

std::string lines_with(const std::string &text, const std::string &prefix)
{
    std::string found;
    for (const std::string &line : lines_of(text)) {
        if (line.rfind(prefix, 0) == 0)
            found += line + "\n";
    }
    return found;
}

size_t line_count(const std::string &text, const std::string &prefix)
{
    return lines_of(lines_with(text, prefix)).size();
}

std::string sorted_devices(const std::string &text, const std::string &prefix)
{
    const std::vector<std::string> lines = lines_of(lines_with(text, prefix));
    std::string sorted;
    for (const std::string &line : std::multiset<std::string>(lines.begin(), lines.end()))
        sorted += line + "\n";
    return sorted;
}

std::string descriptions(const std::string &text)
{
    std::string found;
    for (const std::string &line : lines_of(lines_with(text, "ip: ")))
        found += line.substr(4, line.find(' ', 4) - 4) + line.substr(line.find("dsc:") + 4) + "\n";
    return found;
}

lab_result run_in_lab(const lab_setup &setup, const std::vector<std::string> &command)
{
    const scratch_folder folder;
    const std::string record = folder.path / "record";
    const std::string tmp = folder.path / "tmp";
    std::filesystem::create_directory(tmp);
    program_run run = {{LAB_COMMAND, "--simulator", SIMULATOR, "--tmp", tmp}};
    for (const auto &[name, content] : setup.etc)
        folder.write("etc/" + name, content);
    if (!setup.etc.empty())
        run.words.insert(run.words.end(), {"--etc", folder.path / "etc"});
    if (!setup.fleet.empty())
        run.words.insert(run.words.end(),
                         {"--fleet", folder.write("fleet", setup.fleet), "--record", record});
    for (const std::string &fleet : setup.networks) {
        const std::string name = "fleet" + std::to_string(run.words.size());
        run.words.insert(run.words.end(), {"--network", folder.write(name, fleet)});
    }
    run.words.insert(run.words.end(), setup.options.begin(), setup.options.end());
    run.words.emplace_back("--");
    run.words.insert(run.words.end(), command.begin(), command.end());
    lab_result result = {run_program(run), content_of(record), {}};
    for (const auto &entry : std::filesystem::directory_iterator(folder.path)) {
        if (entry.path().stem() == "record" && entry.path().has_extension())
            result.records[entry.path().extension().string().substr(1)] = content_of(entry.path());
    }
    return result;
}

lab_result shell_in_lab(const lab_setup &setup, const std::string &command,
                        const std::string &argument)
{
    return run_in_lab(setup, {"/bin/bash", "-c", "PATH=$PATH:/usr/sbin:/sbin; " + command,
                              DEVSCOUT_PROGRAM, argument});
}

lab_result devscout_in_lab(const lab_setup &setup, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), DEVSCOUT_PROGRAM);
    return run_in_lab(setup, arguments);
}

std::string outcome_of(const std::function<std::string()> &run, const std::string &expected)
{
    std::string outcome = run();
    for (int further = 0; further < 4 && outcome != expected; ++further)
        outcome = run();
    return outcome;
}

std::string requests(const std::string &record, const std::string &protocol)
{
    std::string found;
    for (const std::string &line : lines_of(record)) {
        // TIME PROTOCOL SOURCE > DESTINATION LENGTH HEX
        const size_t word = line.find(' ') + 1;
        if (line.compare(word, protocol.size() + 1, protocol + " ") == 0)
            found += line.substr(line.find(" > ") + 3) + "\n";
    }
    return found;
}
