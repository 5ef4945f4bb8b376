// The command line: which run the process makes, and its settings.
#include "driver/command_line.h"

#include "config/text.h"
#include "driver/method.h"
#include "driver/options.h"

#include <cstdio>
#include <cstring>

namespace
{

/// What an argument may mean: a method, or another option.
struct argument_meaning {
    const method *chosen = nullptr;
    const option *given = nullptr;
    size_t length = 0; ///< characters of its word
};

/// The leading characters of an argument decide: the longest word that it begins with counts, so
/// that "--snmp6" is not taken for "--snmp".
argument_meaning find_meaning(const char *argument)
{
    argument_meaning meaning;
    for (const option &o : OPTIONS) {
        const size_t length = strlen(o.word);
        if (length > meaning.length && begins_with(argument, o.word))
            meaning = {nullptr, &o, length};
    }
    if (!begins_with(argument, "--"))
        return meaning;
    for (const method &m : METHODS) {
        const size_t length = strlen("--") + strlen(m.word);
        if (length > meaning.length && begins_with(argument + strlen("--"), m.word))
            meaning = {&m, nullptr, length};
    }
    return meaning;
}

/// Takes the option that stands first in `arguments`. Returns how many of them that took; 0 where
/// it means nothing or lacks its value.
int take_option(const argument_meaning &meaning, int count, char **arguments,
                run_settings *settings)
{
    const option &given = *meaning.given;
    const char *value = arguments[0] + meaning.length;
    if (has_separate_value(given))
        value = count > 1 ? arguments[1] : "";
    const bool lacks_value = has_separate_value(given) ? count < 2 : *value == '\0';
    if (given.take == nullptr || (has_value(given) && lacks_value))
        return 0;
    given.take(settings, value);
    return has_separate_value(given) ? 2 : 1;
}

/// Reads the options before the modes. Returns the index of the first argument of the mode scan,
/// or `argc` when nothing is left to scan. A single-device run sets `kind` and `address`.
int read_leading_options(int argc, char **argv, run_settings *settings)
{
    int i = 1;
    while (i < argc && settings->address == nullptr) {
        const argument_meaning meaning = find_meaning(argv[i]);
        if (meaning.given == nullptr || meaning.given->place == option_place::among_methods)
            break;
        const int taken = take_option(meaning, argc - i, argv + i, settings);
        if (taken == 0)
            break;
        i += taken;
    }
    return i;
}

/// Looks at the first argument of the mode scan. Returns how many arguments that took; 0 where it
/// means nothing here.
int read_mode_argument(int count, char **arguments, run_settings *settings)
{
    const argument_meaning meaning = find_meaning(arguments[0]);
    if (meaning.chosen != nullptr) {
        settings->methods[meaning.chosen - METHODS] = true;
        printf("# Mode %s\n", meaning.chosen->word);
        return 1;
    }
    if (meaning.given == nullptr || meaning.given->place == option_place::before_methods)
        return 0;
    return take_option(meaning, count, arguments, settings);
}

} // namespace

void select_default_methods(run_settings *settings)
{
    for (size_t i = 0; i < METHOD_COUNT; ++i)
        settings->methods[i] = METHODS[i].by_default;
}

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
    while (i < argc) {
        const int taken = read_mode_argument(argc - i, argv + i, &settings);
        if (taken == 0)
            ignored[settings.ignored_count++] = argv[i];
        i += taken > 0 ? taken : 1;
    }
    return settings;
}
