// What a person at a terminal is told on standard error besides the report.
#include "driver/help.h"

#include "config/printable.h"
#include "config/text.h"
#include "driver/method.h"
#include "driver/options.h"
#include "io/egress.h"
#include "io/netlink.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <net/if.h>
#include <netinet/in.h>
#include <unistd.h>

namespace
{

constexpr size_t ARGUMENT_SIZE = 256; ///< a longer argument is shown cut
constexpr size_t NAMES_SIZE = 42;     ///< as many as one line of 80 columns shows

constexpr char SYNOPSIS[] =
    "Usage: devscout [OPTION...] [METHOD...]\n"
    "       devscout [OPTION...] -R ADDRESS\n"
    "       devscout [OPTION...] -I ADDRESS\n"
    "Finds network printers and scanners and prints one line for each of them.\n";

bool at_terminal()
{
    return isatty(STDERR_FILENO) != 0;
}

bool is_help_option(const char *argument)
{
    return strcmp(argument, "--help") == 0 || strcmp(argument, "-h") == 0;
}

bool is_version_option(const char *argument)
{
    return strcmp(argument, "--version") == 0;
}

/// The ignored arguments that are such an option.
template<typename Kind>
bool is_asked(const run_settings &settings, Kind is_kind)
{
    return std::any_of(settings.ignored, settings.ignored + settings.ignored_count, is_kind);
}

void print_usage_line(const char *dashes, const char *word, const char *value, const char *help)
{
    const int width = 18 - static_cast<int>(strlen(dashes) + strlen(word));
    fprintf(stderr, "  %s%s%-*s %s\n", dashes, word, width, value, help);
}

void print_options(const char *heading, option_place place)
{
    fprintf(stderr, "\n%s:\n", heading);
    for (const option &o : OPTIONS) {
        if (o.place == place)
            print_usage_line("", o.word, o.value, o.help);
    }
}

void print_usage()
{
    fputs(SYNOPSIS, stderr);
    print_options("Before the methods", option_place::before_methods);
    print_options("Before or among the methods", option_place::anywhere);
    fputs("\nMethods:\n", stderr);
    for (const method &m : METHODS)
        print_usage_line("--", m.word, "", m.help);
    print_options("Among the methods", option_place::among_methods);
    fputs("\nSee devscout(1).\n", stderr);
}

void explain_ignored(const char *argument)
{
    char text[ARGUMENT_SIZE];
    fprintf(stderr, "devscout: '%s' is no option and is ignored (see devscout(1))\n",
            printable_text(text, argument, sizeof text));
}

/// Interfaces by their index, each once. There is room for those of both families.
struct interface_set {
    unsigned indexes[2 * EGRESS_INTERFACES_MAX + 1];
    size_t count;
};

void add_interface(interface_set *interfaces, unsigned index)
{
    unsigned *const end = interfaces->indexes + interfaces->count;
    if (index != 0 && std::find(interfaces->indexes, end, index) == end &&
        interfaces->count < std::size(interfaces->indexes))
        interfaces->indexes[interfaces->count++] = index;
}

/// The interfaces that the run's requests leave through.
interface_set asked_interfaces(const run_settings &settings)
{
    interface_set found = {};
    for (size_t i = 0; i < METHOD_COUNT; ++i) {
        const method &m = METHODS[i];
        if (!settings.methods[i])
            continue;
        const bool ipv6 = m.family == AF_INET6;
        if (!ipv6)
            add_interface(&found, route_interface({INADDR_BROADCAST}));
        const egress_plan plan = ipv6 ? plan_multicast() : plan_broadcast();
        for (size_t k = 0; k < plan.count; ++k)
            add_interface(&found, plan.interfaces[k]);
    }
    return found;
}

/// Appends the interface's name to the enumeration, or an ellipsis where it does not fit.
void append_name(unsigned index, char (&names)[NAMES_SIZE])
{
    constexpr char MORE[] = ", ...";
    char name[IF_NAMESIZE + 2] = "";
    if (names[0] != '\0')
        safe_strncpy(name, ", ", sizeof name);
    if (if_indextoname(index, name + strlen(name)) == nullptr)
        return;
    if (strlen(names) + strlen(name) + sizeof MORE <= sizeof names)
        append_text(names, name, sizeof names);
    else if (strstr(names, MORE) == nullptr)
        append_text(names, MORE, sizeof names);
}

} // namespace

void explain_arguments(const run_settings &settings)
{
    if (!at_terminal())
        return;
    for (int i = 0; i < settings.ignored_count; ++i) {
        const char *argument = settings.ignored[i];
        if (!is_help_option(argument) && !is_version_option(argument))
            explain_ignored(argument);
    }
    if (is_asked(settings, is_version_option))
        fputs("devscout " DEVSCOUT_VERSION "\n", stderr);
    if (is_asked(settings, is_help_option))
        print_usage();
}

void explain_empty_report(const run_settings &settings)
{
    if (!at_terminal() || is_asked(settings, is_help_option) ||
        is_asked(settings, is_version_option))
        return;
    const bool *const methods = settings.methods;
    if (std::find(methods, methods + METHOD_COUNT, true) == methods + METHOD_COUNT) {
        fputs("devscout: no method was selected, so nothing was asked (--all: the usual)\n",
              stderr);
        return;
    }
    const char *kind = settings.scanner ? "scanner" : "printer";
    const interface_set interfaces = asked_interfaces(settings);
    if (interfaces.count == 0) {
        fprintf(stderr, "devscout: no %s was found: there is no interface to ask on\n", kind);
        return;
    }
    char names[NAMES_SIZE] = "";
    for (size_t i = 0; i < interfaces.count; ++i)
        append_name(interfaces.indexes[i], names);
    fprintf(stderr,
            "devscout: no %s was found; asked on %s\n"
            "devscout: a firewall must let in UDP from ports 161, 427 and 6000\n"
            "devscout: devices of another SNMP community or another network stay unseen\n",
            kind, names);
}
