// The command line: which run the process makes, and its settings.
#include "driver/command_line.h"

#include "config/interface_choice.h"
#include "config/text.h"
#include "driver/options.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace
{

/// Finds what the argument may mean by its leading characters: the longest word that it begins with
/// counts, so that "--snmp6" is not taken for "--snmp". Returns what stands behind the word.
const char *find_word(argument_meaning *meaning)
{
    size_t longest = 0;
    for (const option &o : OPTIONS) {
        const size_t length = strlen(o.word);
        const bool whole = strcmp(meaning->text, o.word) == 0;
        if (length > longest &&
            (whole || (o.place != option_place::help && begins_with(meaning->text, o.word)))) {
            longest = length;
            meaning->given = &o;
        }
    }
    for (const method &m : METHODS) {
        const size_t length = strlen("--") + strlen(m.word);
        if (length > longest && begins_with(meaning->text, "--") &&
            begins_with(meaning->text + strlen("--"), m.word)) {
            longest = length;
            meaning->given = nullptr;
            meaning->chosen = &m;
        }
    }
    return meaning->text + longest;
}

/// The first argument is an address, and so are those behind it up to one that looks like an
/// option.
size_t count_addresses(char *const *arguments, char *const *end)
{
    const auto is_option = [](const char *argument) { return argument[0] == '-'; };
    return static_cast<size_t>(std::find_if(arguments + 1, end, is_option) - arguments);
}

bool counts_at(option_place place, bool before_methods)
{
    if (place == option_place::before_methods || place == option_place::single_device)
        return before_methods;
    return place != option_place::among_methods || !before_methods;
}

} // namespace

argument_meaning understand_argument(const char *const *arguments, int count, bool before_methods)
{
    argument_meaning meaning = {arguments[0], nullptr, nullptr, nullptr, false};
    const char *tail = find_word(&meaning);
    if (meaning.given == nullptr) {
        meaning.counts = meaning.chosen != nullptr && !before_methods;
        return meaning;
    }
    const option &o = *meaning.given;
    if (has_separate_value(o))
        meaning.value = count > 1 ? arguments[1] : nullptr;
    else if (*tail != '\0' || !has_value(o))
        meaning.value = tail;
    meaning.counts = meaning.value != nullptr && counts_at(o.place, before_methods);
    return meaning;
}

argument_walk walk_arguments(const run_settings &settings)
{
    return {settings.arguments, settings.argument_count, true};
}

bool next_argument(argument_walk *walk, argument_meaning *meaning)
{
    if (walk->count <= 0)
        return false;
    *meaning = understand_argument(walk->rest, walk->count, walk->before_methods);
    if (walk->before_methods && !meaning->counts) {
        walk->before_methods = false;
        *meaning = understand_argument(walk->rest, walk->count, false);
    }
    const bool counts = meaning->counts && meaning->given != nullptr;
    const int taken = counts && has_separate_value(*meaning->given) ? 2 : 1;
    walk->rest += taken;
    walk->count -= taken;
    if (counts && ends_command_line(*meaning->given))
        walk->count = 0;
    return true;
}

void select_default_methods(run_settings *settings)
{
    for (size_t i = 0; i < METHOD_COUNT; ++i)
        settings->methods[i] = METHODS[i].by_default;
}

run_settings read_command_line(int argc, char **argv)
{
    run_settings settings;
    if (argc > 0) {
        settings.program = argv[0];
        settings.arguments = argv + 1;
        settings.argument_count = argc - 1;
    }
    argument_walk walk = walk_arguments(settings);
    argument_meaning meaning;
    while (next_argument(&walk, &meaning)) {
        if (meaning.chosen != nullptr)
            settings.methods[meaning.chosen - METHODS] = true;
        else if (meaning.counts)
            meaning.given->take(&settings, meaning.value);
        else if (meaning.given != nullptr && strcmp(meaning.given->word, "--interface") == 0)
            g_interface_name = ""; // without its name nothing is done, rather than too much
    }
    if (settings.address != nullptr) {
        settings.addresses = argv + (walk.rest - argv) - 1;
        settings.address_count = count_addresses(settings.addresses, argv + argc);
    } else if (walk.before_methods) {
        select_default_methods(&settings);
    }
    return settings;
}

void print_mode_lines(const run_settings &settings)
{
    argument_walk walk = walk_arguments(settings);
    argument_meaning meaning;
    while (next_argument(&walk, &meaning)) {
        if (meaning.chosen != nullptr)
            printf("# Mode %s\n", meaning.chosen->word);
    }
}
