// Running programs from a test, on their own or in the lab network.
#include "program.h"

#include "io/stream.h"
#include "scratch.h"

#include <algorithm>
#include <fcntl.h>
#include <poll.h>
#include <set>
#include <sys/resource.h>
#include <sys/wait.h>

namespace
{

struct pipe_ends {
    descriptor read_end;
    descriptor write_end;

    pipe_ends()
    {
        int ends[2] = {-1, -1};
        if (pipe2(ends, O_CLOEXEC) == 0) {
            read_end.reset(ends[0]);
            write_end.reset(ends[1]);
        }
    }
};

void occupy_descriptors(int count)
{
    const int file = count > 0 ? open("/dev/null", O_RDONLY) : -1;
    for (int fd = 3; fd < 3 + count; ++fd) {
        if (fcntl(fd, F_GETFD) < 0)
            dup2(file, fd);
        else
            fcntl(fd, F_SETFD, 0);
    }
}

[[noreturn]] void become(const program_run &run, int out, int err)
{
    std::vector<char *> argv;
    for (const std::string &word : run.words)
        argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
    dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    const auto most = static_cast<rlim_t>(run.descriptor_limit);
    const struct rlimit limit = {most, most};
    if (most > 0 && setrlimit(RLIMIT_NOFILE, &limit) != 0)
        _exit(126);
    occupy_descriptors(run.occupied_descriptors);
    if (run.folder.empty() || chdir(run.folder.c_str()) == 0)
        execv(run.executable.empty() ? argv[0] : run.executable.c_str(), argv.data());
    _exit(126);
}

void read_both(int out, int err, program_result *result)
{
    struct pollfd streams[] = {{out, POLLIN, 0}, {err, POLLIN, 0}};
    std::string *const texts[] = {&result->out, &result->err};
    int open_streams = 2;
    while (open_streams > 0 && poll(streams, 2, -1) > 0) {
        for (int i = 0; i < 2; ++i) {
            char buffer[65536];
            if (streams[i].fd < 0 || streams[i].revents == 0)
                continue;
            const ssize_t received = read(streams[i].fd, buffer, sizeof buffer);
            if (received > 0) {
                texts[i]->append(buffer, static_cast<size_t>(received));
            } else {
                streams[i].fd = -1;
                --open_streams;
            }
        }
    }
}

} // namespace

program_result run_program(const program_run &run)
{
    program_result result;
    pipe_ends out;
    pipe_ends err;
    const pid_t child = fork();
    if (child == 0)
        become(run, out.write_end.fd, err.write_end.fd);
    out.write_end.reset();
    err.write_end.reset();
    read_both(out.read_end.fd, err.read_end.fd, &result);
    int status = 0;
    if (child > 0 && waitpid(child, &status, 0) == child)
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

std::string lines_with(const std::string &text, const std::string &prefix)
{
    std::string found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(prefix, 0) == 0)
            found += line + "\n";
    }
    return found;
}

size_t line_count(const std::string &text, const std::string &prefix)
{
    const std::string found = lines_with(text, prefix);
    return static_cast<size_t>(std::count(found.begin(), found.end(), '\n'));
}

std::string sorted_devices(const std::string &report)
{
    std::multiset<std::string> sorted;
    std::istringstream lines(lines_with(report, "ip: "));
    for (std::string line; std::getline(lines, line);)
        sorted.insert(line + "\n");
    std::string text;
    for (const std::string &line : sorted)
        text += line;
    return text;
}

lab_result run_in_lab(const lab_setup &setup, const std::vector<std::string> &command)
{
    const scratch_folder folder;
    const std::string record = folder.path / "record";
    program_run run;
    run.words = {LAB_COMMAND, "--simulator", SIMULATOR};
    if (!setup.fleet.empty()) {
        run.words.insert(run.words.end(), {"--fleet", folder.write("fleet", setup.fleet)});
        run.words.insert(run.words.end(), {"--record", record});
    }
    for (const std::string &fleet : setup.networks) {
        const std::string name = "fleet" + std::to_string(run.words.size());
        run.words.insert(run.words.end(), {"--network", folder.write(name, fleet)});
    }
    run.words.insert(run.words.end(), setup.options.begin(), setup.options.end());
    run.words.emplace_back("--");
    run.words.insert(run.words.end(), command.begin(), command.end());
    lab_result result;
    result.program = run_program(run);
    if (std::filesystem::exists(record))
        result.record = content_of(record);
    for (const auto &entry : std::filesystem::directory_iterator(folder.path)) {
        if (entry.path().stem() == "record" && entry.path().has_extension())
            result.records[entry.path().extension().string().substr(1)] = content_of(entry.path());
    }
    return result;
}

lab_result devscout_in_lab(const lab_setup &setup, std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), DEVSCOUT_PROGRAM);
    return run_in_lab(setup, arguments);
}

std::string requests(const std::string &record, const std::string &protocol)
{
    std::string found;
    std::istringstream lines(record);
    std::string time;
    std::string word;
    std::string source;
    std::string arrow;
    std::string rest;
    while (lines >> time >> word >> source >> arrow && std::getline(lines, rest)) {
        if (word == protocol)
            found += rest.substr(1) + "\n";
    }
    return found;
}
