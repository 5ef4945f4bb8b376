// The IPv6 addresses at which a device can be asked.
#include "snmp/answering_ipv6.h"

#include "config/text.h"
#include "io/output.h"
#include "io/wait.h"
#include "netif/derive_ipv6.h"
#include "snmp/classify.h"
#include "snmp/device_query.h"
#include "snmp/snmp_discovery.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>

namespace
{

/// The system repeats the search for a neighbour after a second only. Where 30 % of the packets get
/// lost, one second finds 11 of 30 addresses, and this 29.
constexpr int64_t BUDGET_US = 3500 * MICROSECONDS_PER_MILLISECOND;
/// A device's packets wait in the socket while the system looks for it: too many would fill that.
constexpr int64_t REPEAT_US = 250 * MICROSECONDS_PER_MILLISECOND;
constexpr int64_t ALL_BUDGETS_US = 2 * BUDGET_US;
constexpr size_t AT_ONCE = 1024;

/// A device, and what it is asked at.
struct checked_address {
    const device_record *device;
    char ip[IP_SIZE];
    device_query query;
    bool waits;
};

struct address_check {
    query_sessions sessions;
    checked_address addresses[AT_ONCE];
    size_t count;
    int64_t deadline_us;
    device_list answering;
    address_index index; // of those
    list_node *interfaces;
    host_interface_list system;
};

/// Writes the address with the interface as its zone, by name where there is room for it.
void write_zoned(char (&zoned)[IP_SIZE], const char *ip, const char *name, unsigned index)
{
    char text[2 * IP_SIZE];
    copy_part(text, ip, strcspn(ip, "%"), sizeof text);
    const size_t length = strlen(text);
    snprintf(text + length, sizeof text - length, "%%%s", name);
    if (strlen(text) >= sizeof zoned)
        snprintf(text + length, sizeof text - length, "%%%u", index);
    safe_strncpy(zoned, text, sizeof zoned);
}

bool is_link_local(const char *ip)
{
    struct in6_addr address = {};
    return inet_pton(AF_INET6, ip, &address) > 0 && IN6_IS_ADDR_LINKLOCAL(&address);
}

/// The address that the device answered from; the zone of its record is an index.
void write_answering(char (&ip)[IP_SIZE], const device_record &device,
                     const host_interfaces *system)
{
    const char *zone = strchr(device.ip, '%');
    const unsigned index =
        zone == nullptr ? 0 : static_cast<unsigned>(strtoul(zone + 1, nullptr, 10));
    const host_interface *interface = find_host_interface(system, index);
    if (zone != nullptr && interface != nullptr)
        write_zoned(ip, device.ip, interface->name, index);
    else
        safe_strncpy(ip, device.ip, sizeof ip);
}

/// Whether the address has answered as the device that answered the multicast.
bool is_same_device(const checked_address &address)
{
    char model[DSC_SIZE];
    char vendor[VENDOR_SIZE];
    const char *value = address.query.identification;
    return classify_discovery_value(value) == CLASS_PRINTER &&
           parse_mfg_mdl(model, vendor, value) != 0 && strcmp(model, address.device->dsc) == 0 &&
           strcmp(vendor, address.device->vendor) == 0 &&
           is_scanner(value) == (address.device->snmp_devtype != 0);
}

/// Asks them all side by side, those whose turn comes before the deadline, and waits for all
/// answers.
void ask_addresses(address_check *check)
{
    checked_address *const end = check->addresses + check->count;
    for (checked_address *a = check->addresses; a != end; ++a) {
        a->query = {};
        a->waits = monotonic_us() < check->deadline_us;
        if (a->waits)
            begin_query(&a->query, &check->sessions, a->ip, {});
    }
    bool waits = check->count > 0;
    while (waits && monotonic_us() < check->deadline_us) {
        send_repetitions(&check->sessions);
        int64_t due = check->deadline_us;
        for (const checked_address *a = check->addresses; a != end; ++a)
            due = a->waits ? std::min(due, a->query.due_us) : due;
        struct pollfd polled[2 * QUERY_SESSIONS_MAX];
        wait_or_end_any(polled, poll_queries(check->sessions, polled), due - monotonic_us());
        const int64_t now = monotonic_us();
        read_answers(check->sessions);
        waits = false;
        for (checked_address *a = check->addresses; a != end; ++a) {
            a->waits = a->waits && step_query(&a->query, now) == query_state::waiting;
            waits = waits || a->waits;
        }
    }
}

/// Lists the addresses that were asked, and where none of a device has answered the one that it
/// answered from: its two stand side by side.
void list_addresses(address_check *check)
{
    for (size_t i = 0; i < check->count;) {
        const device_record *device = check->addresses[i].device;
        bool listed = false;
        for (; i < check->count && check->addresses[i].device == device; ++i) {
            if (!is_same_device(check->addresses[i]))
                continue;
            listed = true;
            add_derived_record(check->addresses[i].ip, *device, &check->answering, &check->index);
        }
        if (listed)
            continue;
        char ip[IP_SIZE];
        write_answering(ip, *device, check->system.get());
        add_derived_record(ip, *device, &check->answering, &check->index);
    }
    check->count = 0;
}

/// Notes the addresses that the device is asked at; one that is not known to have any is asked
/// where it answered.
void note_addresses(address_check *check, const device_record *device)
{
    char others[OTHER_SCOPES][COMBINED_SIZE] = {};
    const netinterface_info *interface =
        other_addresses(device->ip, check->interfaces, check->system.get(), others);
    const size_t before = check->count;
    for (const char *other : others) {
        if (other[0] == '\0')
            continue;
        checked_address &address = check->addresses[check->count++];
        address.device = device;
        const host_interface *system = find_host_interface(check->system.get(), interface->name);
        if (is_link_local(other))
            write_zoned(address.ip, other, interface->name, system == nullptr ? 0 : system->index);
        else
            safe_strncpy(address.ip, other, sizeof address.ip);
    }
    if (check->count == before) {
        checked_address &address = check->addresses[check->count++];
        address.device = device;
        write_answering(address.ip, *device, check->system.get());
    }
}

} // namespace

void list_answering_ipv6(device_list *devices)
{
    static address_check check; // what the library still holds points into it
    check.sessions.budget_us = BUDGET_US;
    check.sessions.repeat_us = REPEAT_US;
    check.sessions.objects = 1;
    check.deadline_us = monotonic_us() + ALL_BUDGETS_US;
    enumerate_interfaces(&check.interfaces);
    check.system = list_host_interfaces();
    for (const list_node *node = *devices; node != nullptr; node = node->next) {
        if (is_ipv6_record(node->data))
            note_addresses(&check, static_cast<const device_record *>(node->data));
        if (check.count + OTHER_SCOPES > AT_ONCE || node->next == nullptr) {
            ask_addresses(&check);
            list_addresses(&check);
        }
    }
    replace_ipv6_records(devices, &check.answering);
    list_free(&check.interfaces);
}
