// Running programs from a test, on their own or in the lab network.
#pragma once

#include <map>
#include <string>
#include <vector>

struct program_run {
    std::vector<std::string> words; ///< argument 0 and on
    std::string executable;         ///< what is executed; empty: argument 0
    std::string folder;             ///< working directory; empty: the test's
    int occupied_descriptors = 0;   ///< descriptors from 3 on that are taken in the program
    int descriptor_limit = 0;       ///< how many the program may have; 0: as the test
    bool closed_standard_streams = false;
};

struct program_result {
    int status = -1; ///< exit status, or 128 and the number of a signal
    std::string out;
    std::string err;
};

/// Runs a program to its end and collects what it prints.
program_result run_program(const program_run &run);

/// The lines of `text` that begin with `prefix`, in order, each with its line feed.
std::string lines_with(const std::string &text, const std::string &prefix);

size_t line_count(const std::string &text, const std::string &prefix);

/// The device lines of a report, sorted: devices are listed in the order in which they answer.
std::string sorted_devices(const std::string &report);

/// What a lab network is laid with.
struct lab_setup {
    std::string fleet;                      ///< content of the fleet file
    std::vector<std::string> options;       ///< further options of lab/lab
    std::vector<std::string> networks = {}; ///< fleets of the networks behind eth1 and on
};

struct lab_result {
    program_result program;
    std::string record;                         ///< the requests that the simulator received
    std::map<std::string, std::string> records; ///< those of other interfaces than eth0, by name
};

/// Runs `command` in a lab network. Where no lab can be laid the test is skipped by `SKIP_NO_LAB`.
lab_result run_in_lab(const lab_setup &setup, const std::vector<std::string> &command);

/// Runs the program under test in a lab network.
lab_result devscout_in_lab(const lab_setup &setup, std::vector<std::string> arguments);

/// The requests of one protocol in a record, each as "DESTINATION LENGTH HEX" and a line feed.
std::string requests(const std::string &record, const std::string &protocol);

constexpr int NO_LAB_STATUS = 77;

#define SKIP_NO_LAB(result)                                                                        \
    do {                                                                                           \
        if ((result).program.status == NO_LAB_STATUS)                                              \
            GTEST_SKIP() << (result).program.err;                                                  \
    } while (0)
