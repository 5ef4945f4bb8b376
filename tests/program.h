// Running programs from a test: on their own, at a terminal, or in the lab network.
#pragma once

#include "io/stream.h"
#include "scratch.h"

#include <functional>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

struct program_run {
    std::vector<std::string> words; ///< argument 0 and on
    std::string executable = {};    ///< what is executed; empty: argument 0
};

/// A pseudo-terminal, the controlling one of a program.
struct terminal_settings {
    unsigned short columns = 80;
    bool output_too = false; ///< standard output goes there, besides standard error
};

/// A program that runs, in the lab or without a network. Where no namespaces can be had, the whole
/// test program ends with the status of skipped tests.
struct program_session {
    descriptor out; ///< a pipe; none where standard output goes to the terminal
    descriptor err; ///< a pipe, or the terminal
    pid_t pid = -1;
    std::string printed; ///< on standard output
    std::string written; ///< on standard error, or on the terminal

    explicit program_session(const program_run &run, const terminal_settings *terminal = nullptr);

    /// Reads until `shown` is written, or else to the end of both streams.
    void read_until(const std::string &shown);

    /// Reads everything and returns the wait status.
    int finish();
};

struct program_result {
    int status = -1; ///< exit status, or 128 and the number of a signal
    std::string out;
    std::string err;
};

/// Runs a program to its end and collects what it prints.
program_result run_program(const program_run &run);

/// A parent whose children are a script: started under another program's path, it starts that
/// program as its children, and their lines are whatever the script prints.
struct scripted_run {
    scratch_folder folder;
    std::string script;

    /// `cases` are the branches of a shell `case "$*"`; `$here` is the folder.
    explicit scripted_run(const std::string &cases, const std::string &name = "child");

    program_run with(const std::vector<std::string> &arguments) const;

    /// The same by a shell command that names it `"$@"`; `$here` is the folder.
    program_run shell_run(const std::string &command,
                          const std::vector<std::string> &arguments) const;

    std::string file(const char *name) const;
};

/// The lines of a text, without their line feeds.
std::vector<std::string> lines_of(const std::string &text);

/// The lines of `text` that begin with `prefix`, in order, each with its line feed.
std::string lines_with(const std::string &text, const std::string &prefix);

size_t line_count(const std::string &text, const std::string &prefix);

/// The device lines of a report, sorted: devices are listed in the order in which they answer.
std::string sorted_devices(const std::string &text, const std::string &prefix = "ip: ");

/// Address and description of each device line, in order.
std::string descriptions(const std::string &text);

/// What a lab network is laid with. Its /tmp is empty.
struct lab_setup {
    std::string fleet;                           ///< content of the fleet file
    std::vector<std::string> options = {};       ///< further options of lab/lab
    std::vector<std::string> networks = {};      ///< fleets of the networks behind eth1 and on
    std::map<std::string, std::string> etc = {}; ///< contents of files in /etc, by name
};

struct lab_result {
    program_result program;
    std::string record;                         ///< the requests that the simulator received
    std::map<std::string, std::string> records; ///< those of other interfaces than eth0, by name
};

/// Runs `command` in a lab network.
lab_result run_in_lab(const lab_setup &setup, const std::vector<std::string> &command);

/// Runs a shell command in a lab network, with the program under test as $0.
lab_result shell_in_lab(const lab_setup &setup, const std::string &command,
                        const std::string &argument = "");

/// Runs the program under test in a lab network.
lab_result devscout_in_lab(const lab_setup &setup, std::vector<std::string> arguments);

/// Makes runs in the lab until one has this outcome, at most five: on a busy machine answers come
/// late. Returns the last outcome.
std::string outcome_of(const std::function<std::string()> &run, const std::string &expected);

/// The requests of one protocol in a record, each as "DESTINATION LENGTH HEX" and a line feed.
std::string requests(const std::string &record, const std::string &protocol);
