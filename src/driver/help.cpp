// What a person at a terminal is told on standard error besides the report.
#include "driver/help.h"

#include "config/community.h"
#include "config/interface_choice.h"
#include "config/printable.h"
#include "config/text.h"
#include "config/thorough.h"
#include "driver/method.h"
#include "driver/options.h"
#include "io/egress.h"
#include "io/interfaces.h"
#include "scan/scanner_inquiry.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <unistd.h>

namespace
{

constexpr size_t ARGUMENT_SIZE = 256; ///< a longer argument is shown cut
constexpr size_t NAMES_SIZE = 42;     ///< as many as one line of 80 columns shows

/// Single-device runs are children too: a person sees their output itself.
bool is_told(run_kind kind)
{
    return isatty(STDERR_FILENO) != 0 && (kind == run_kind::parent || isatty(STDOUT_FILENO) != 0);
}

bool is_option(const char *text)
{
    const argument_meaning meaning = understand_argument(&text, 1, false);
    return meaning.chosen != nullptr || meaning.given != nullptr;
}

/// An option that counts may have taken another one for its value.
void explain_taken(const option &o, const char *value)
{
    char shown[ARGUMENT_SIZE];
    if (has_separate_value(o) && is_option(value))
        fprintf(stderr, "devscout: '%s' is taken for the%s of '%s'\n",
                printable_text(shown, value, sizeof shown), o.value, o.word);
}

void explain_ignored(const argument_meaning &meaning)
{
    char text[ARGUMENT_SIZE];
    printable_text(text, meaning.text, sizeof text);
    if (meaning.given == nullptr)
        fprintf(stderr, "devscout: '%s' is no option and is ignored (see devscout(1))\n", text);
    else if (meaning.value == nullptr)
        fprintf(stderr, "devscout: '%s' lacks its %s and is ignored\n", text,
                meaning.given->value + strspn(meaning.given->value, " "));
    else
        fprintf(stderr, "devscout: '%s' counts before the methods only and is ignored\n", text);
}

bool asks_for_scanners(const run_settings &settings)
{
    for (size_t i = 0; i < METHOD_COUNT; ++i) {
        if (settings.methods[i] && METHODS[i].asks_devices)
            return true;
    }
    return false;
}

/// Appends the interface's name to the enumeration, or an ellipsis where it does not fit.
void append_name(const host_interface &interface, char (&names)[NAMES_SIZE])
{
    constexpr char MORE[] = ", ...";
    if (strstr(names, MORE) != nullptr)
        return;
    char name[IF_NAMESIZE + 2] = "";
    snprintf(name, sizeof name, "%s%s", names[0] != '\0' ? ", " : "", interface.name);
    if (strlen(names) + strlen(name) + sizeof MORE <= sizeof names)
        append_text(names, name, sizeof names);
    else
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
    if (!is_told(settings.kind))
        return;
    argument_walk walk = walk_arguments(settings);
    argument_meaning meaning;
    const char *ignored_value = nullptr; // of the argument before
    while (next_argument(&walk, &meaning)) {
        const bool is_value = meaning.given == nullptr && meaning.text == ignored_value;
        ignored_value = meaning.value;
        if (meaning.counts && meaning.given != nullptr)
            explain_taken(*meaning.given, meaning.value);
        else if (!meaning.counts && !is_value)
            explain_ignored(meaning);
    }
}

void explain_missing_answer(run_kind kind, const char *ip)
{
    if (!is_told(kind))
        return;
    char address[ARGUMENT_SIZE];
    char community[ARGUMENT_SIZE];
    printable_text(address, ip, sizeof address);
    printable_text(community, g_community_name, sizeof community);
    if (kind == run_kind::get_description)
        fprintf(stderr, "devscout: %s tells no make and model by SNMP (community '%s')\n", address,
                community);
    else
        fprintf(stderr, "devscout: %s gives no scanner inquiry block on TCP port %d\n", address,
                INQUIRY_PORT);
}

void explain_empty_report(const run_settings &settings)
{
    if (!is_told(settings.kind))
        return;
    const bool *const methods = settings.methods;
    if (std::find(methods, methods + METHOD_COUNT, true) == methods + METHOD_COUNT) {
        fputs("devscout: no method was selected, so nothing was asked (--all: the usual)\n",
              stderr);
        return;
    }
    if (settings.scanner && !asks_for_scanners(settings)) {
        fputs("devscout: scanners are found by SNMP only: --snmp, --snmp6 or --all\n", stderr);
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
    if (!g_thorough)
        fputs("devscout: devices that packets did not reach: --thorough\n", stderr);
}
