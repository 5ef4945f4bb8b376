// What the options for help print, on standard output.
#include "driver/usage.h"

#include "driver/method.h"
#include "driver/options.h"

#include <cstdio>
#include <cstring>

namespace
{

constexpr char SYNOPSIS[] = "Usage: devscout [OPTION...] [METHOD...]\n"
                            "       devscout [OPTION...] -R ADDRESS ...\n"
                            "       devscout [OPTION...] -I ADDRESS\n"
                            "       devscout --help | --version\n";

void print_line(const char *dashes, const char *word, const char *value, const char *help)
{
    const int width = 18 - static_cast<int>(strlen(dashes) + strlen(word));
    printf("  %s%s%-*s %s\n", dashes, word, width, value, help);
}

void print_options(const char *heading, option_place place)
{
    printf("\n%s:\n", heading);
    for (const option &o : OPTIONS) {
        if (o.place == place)
            print_line("", o.word, o.value, o.help);
    }
}

} // namespace

void print_usage()
{
    fputs(SYNOPSIS, stdout);
    puts("Finds network printers and scanners and prints one line for each address.");
    print_options("Before the methods", option_place::before_methods);
    print_options("Before or among the methods", option_place::anywhere);
    puts("\nMethods:");
    for (const method &m : METHODS)
        print_line("--", m.word, "", m.help);
    print_options("Among the methods", option_place::among_methods);
    print_options("One device", option_place::single_device);
    print_options("Help", option_place::help);
    puts("\nSee devscout(1).");
}

void print_version()
{
    puts("devscout " DEVSCOUT_VERSION);
}
