// The command line: which run the process makes, and its settings.
#include "driver/command_line.h"

#include "config/community.h"
#include "config/text.h"
#include "driver/method.h"

#include <cstdio>
#include <cstring>

namespace
{

void select_default_methods(run_settings *settings)
{
    for (size_t i = 0; i < METHOD_COUNT; ++i)
        settings->methods[i] = METHODS[i].by_default;
}

/// Reads the option of a method: the longest word that it begins with, so that "--snmp6" is not
/// taken for "--snmp". Returns false for any other argument.
bool read_method_option(const char *argument, run_settings *settings)
{
    if (!begins_with(argument, "--"))
        return false;
    size_t longest = 0;
    size_t found = METHOD_COUNT;
    for (size_t i = 0; i < METHOD_COUNT; ++i) {
        const size_t length = strlen(METHODS[i].word);
        if (length > longest && begins_with(argument + 2, METHODS[i].word)) {
            longest = length;
            found = i;
        }
    }
    if (found == METHOD_COUNT)
        return false;
    settings->methods[found] = true;
    printf("# Mode %s\n", METHODS[found].word);
    return true;
}

/// Reads "-d" with its level attached. Returns false for a bare "-d" and any other argument.
bool read_debug_option(const char *argument, run_settings *settings)
{
    if (!begins_with(argument, "-d") || argument[2] == '\0')
        return false;
    settings->debug_level = decimal_value(argument + 2);
    return true;
}

/// Looks at one argument of the mode scan; its leading characters alone decide. Returns whether it
/// means anything.
bool read_mode_argument(const char *argument, run_settings *settings)
{
    if (read_method_option(argument, settings))
        return true;
    if (begins_with(argument, "--scanner"))
        settings->scanner = true;
    else if (begins_with(argument, "--all"))
        select_default_methods(settings);
    else if (begins_with(argument, "--time"))
        settings->time_marks = true;
    else if (begins_with(argument, "--quick"))
        settings->quick = true;
    else if (begins_with(argument, "-s"))
        settings->kind = run_kind::child;
    else
        return read_debug_option(argument, settings);
    return true;
}

/// Reads the options before the modes. Returns the index of the first argument of the mode scan,
/// or `argc` when nothing is left to scan. A single-device run sets `kind` and `address`.
int read_leading_options(int argc, char **argv, run_settings *settings)
{
    int i = 1;
    while (i < argc && argv[i][0] == '-') {
        const char option = argv[i][1];
        const bool has_value = i + 1 < argc;
        if (option == 'c' && has_value) {
            g_community_name = argv[i + 1];
            i += 2;
        } else if ((option == 'R' || option == 'I') && has_value) {
            settings->kind = option == 'R' ? run_kind::get_description : run_kind::scanner_inquiry;
            settings->address = argv[i + 1];
            return argc;
        } else if (begins_with(argv[i], "--quick")) {
            settings->quick = true;
            ++i;
        } else if (read_debug_option(argv[i], settings)) {
            ++i;
        } else {
            break;
        }
    }
    return i;
}

} // namespace

run_settings read_command_line(int argc, char **argv)
{
    run_settings settings;
    if (argc > 0)
        settings.program = argv[0];
    int i = read_leading_options(argc, argv, &settings);
    if (settings.address != nullptr)
        return settings;
    if (i >= argc)
        select_default_methods(&settings);
    char **const ignored = argv + i;
    settings.ignored = ignored;
    for (; i < argc; ++i) {
        if (!read_mode_argument(argv[i], &settings))
            ignored[settings.ignored_count++] = argv[i];
    }
    return settings;
}
