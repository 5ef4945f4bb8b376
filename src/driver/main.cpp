// Entry point: reads the configuration and the command line, and makes the run they select.
#include "config/oem_config.h"
#include "driver/chosen_interface.h"
#include "driver/command_line.h"
#include "driver/report.h"
#include "driver/runs.h"
#include "driver/usage.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace
{

/// A process started with a closed standard stream would give that number to a socket or its log
/// file and print into it.
void hold_standard_descriptors()
{
    int fd = open("/dev/null", O_RDWR);
    while (fd >= 0 && fd <= STDERR_FILENO)
        fd = dup(fd);
    if (fd > STDERR_FILENO)
        close(fd);
}

/// A reader of the output may go away at any time: writing then fails, and the run goes on. A
/// handler, since programs that the process starts would inherit a signal that is ignored.
void outlive_closed_pipes()
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    sigaction(SIGPIPE, &action, nullptr);
}

int run(const run_settings &settings)
{
    if (settings.kind == run_kind::usage || settings.kind == run_kind::version) {
        settings.kind == run_kind::usage ? print_usage() : print_version();
        return EXIT_SUCCESS;
    }
    if (check_chosen_interface() != 0)
        return EXIT_FAILURE;
    if (read_oem_config(settings.program) != 0)
        puts("WARNING: configuration file not found");
    print_mode_lines(settings);
    switch (settings.kind) {
    case run_kind::child:
        return run_child(settings);
    case run_kind::get_description:
        return run_get_description(settings);
    case run_kind::scanner_inquiry:
        return run_scanner_inquiry(settings);
    default:
        return run_parent(settings);
    }
}

} // namespace

int main(int argc, char **argv)
{
    hold_standard_descriptors();
    outlive_closed_pipes();
    return finish_output(run(read_command_line(argc, argv)));
}
