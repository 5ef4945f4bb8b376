// What a person at a terminal is told on standard error besides the report.
#include "driver/help.h"

#include "config/community.h"
#include "config/interface_choice.h"
#include "config/printable.h"
#include "config/text.h"
#include "driver/method.h"
#include "driver/options.h"
#include "io/egress.h"
#include "io/interfaces.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
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

/// Appends the interface's name to the enumeration, or an ellipsis where it does not fit.
void append_name(const host_interface &interface, char (&names)[NAMES_SIZE])
{
    constexpr char MORE[] = ", ...";
    char name[IF_NAMESIZE + 2] = "";
    snprintf(name, sizeof name, "%s%s", names[0] != '\0' ? ", " : "", interface.name);
    if (strlen(names) + strlen(name) + sizeof MORE <= sizeof names)
        append_text(names, name, sizeof names);
    else if (strstr(names, MORE) == nullptr)
        append_text(names, MORE, sizeof names);
}

bool is_in_plan(unsigned interface, const egress_plan &plan)
{
    return plan.routed == interface ||
           std::any_of(plan.ways, plan.ways + plan.count,
                       [interface](const egress_way &way) { return way.interface == interface; });
}

/// Enumerates the interfaces that the run's requests leave through.
void name_asked_interfaces(const run_settings &settings, char (&names)[NAMES_SIZE])
{
    const host_interface_list list = list_host_interfaces();
    if (!list)
        safe_strncpy(names, "the default route", sizeof names);
    const egress_plan broadcast = plan_broadcast(list.get(), g_interface_name);
    const egress_plan multicast = plan_multicast(list.get(), g_interface_name);
    for (size_t i = 0; list && i < list->interface_count; ++i) {
        const host_interface &interface = list->interfaces[i];
        const bool asked =
            std::any_of(std::begin(METHODS), std::end(METHODS), [&](const method &m) {
                return settings.methods[&m - METHODS] &&
                       is_in_plan(interface.index, m.family == AF_INET6 ? multicast : broadcast);
            });
        if (asked)
            append_name(interface, names);
    }
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
    char names[NAMES_SIZE] = "";
    name_asked_interfaces(settings, names);
    if (names[0] == '\0') {
        fprintf(stderr, "devscout: no %s was found: there is no interface to ask on\n", kind);
        return;
    }
    fprintf(stderr,
            "devscout: no %s was found; asked on %s\n"
            "devscout: a firewall must let in UDP from ports 161, 427 and 6000\n"
            "devscout: devices of another SNMP community or another network stay unseen\n",
            kind, names);
}
