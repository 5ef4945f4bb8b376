// The host's interfaces and the completion of IPv6 addresses.
#include "io/stream.h"
#include "netif/derive_ipv6.h"
#include "netif/ifconfig.h"
#include "netif/line_reader.h"
#include "netif/system_interfaces.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <sched.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <vector>

namespace
{

constexpr char OLD_FORMAT[] =
    "eth0      Link encap:Ethernet  HWaddr 00:0c:29:12:34:56  \n"
    "          inet addr:192.168.1.10  Bcast:192.168.1.255  Mask:255.255.255.0\n"
    "          inet6 addr: fe80::20c:29ff:fe12:3456/64 Scope:Link\n"
    "          inet6 addr: fec0::1/64 Scope:Site\n"
    "          inet6 addr: 2001:db8::1/64 Scope:Global\n"
    "          inet6 addr: 2001:db8::2/64 Scope:Global inet addr:9.9.9.9\n"
    "          UP BROADCAST RUNNING MULTICAST  MTU:1500  Metric:1\n"
    "\n"
    "lo        Link encap:Local Loopback  \n"
    "          inet addr:127.0.0.1  Mask:255.0.0.0\n"
    "          inet6 addr: ::1/128 Scope:Host\n"
    "\n"
    "an-interface-with-a-name-of-40-characters Link encap:Ethernet\n"
    "          inet addr:012345678901234567890123456789012345678901\n"
    "          inet6 addr: fd00:0123:4567:89ab:cdef:0123:4567:89ab:cdef/64\n";

constexpr char NEW_FORMAT[] = "eth0: flags=4163<UP,BROADCAST,RUNNING,MULTICAST>  mtu 1500\n"
                              "        inet 192.168.1.10  netmask 255.255.255.0\n"
                              "        inet6 fe80::1  prefixlen 64  scopeid 0x20<link>\n";

struct interface_list {
    list_node *head = nullptr;
    int known_format = 0;

    explicit interface_list(const std::string &output)
    {
        const scratch_folder folder;
        known_format = enumerate_interfaces_from(&head, folder.write("output", output).c_str());
    }
    interface_list(const interface_list &) = delete;
    interface_list &operator=(const interface_list &) = delete;
    ~interface_list()
    {
        list_free(&head);
    }

    /// Each interface as "name ipv4 broadcast link site global".
    std::vector<std::string> summaries() const
    {
        std::vector<std::string> found;
        for (const list_node *node = head; node != nullptr; node = node->next) {
            const auto *i = static_cast<const netinterface_info *>(node->data);
            found.push_back(std::string(i->name) + " " + i->inet_addr + " " + i->bcast_addr + " " +
                            i->inet6_link_addr + " " + i->inet6_site_addr + " " +
                            i->inet6_global_addr);
        }
        return found;
    }
};

std::string ethernet(const std::string &addresses)
{
    std::string output = "eth0      Link encap:Ethernet\n";
    std::istringstream words(addresses);
    for (std::string word; words >> word;)
        output += "          inet6 addr: " + word + "/64 Scope:x\n";
    return output;
}

/// The addresses of a list, each with its description where it has one.
std::string addresses_of(device_list devices)
{
    std::string text;
    for (const list_node *node = devices; node != nullptr; node = node->next) {
        const auto *record = static_cast<const device_record *>(node->data);
        text += std::string(text.empty() ? "" : " ") + record->ip +
                (record->dsc[0] != '\0' ? std::string("=") + record->dsc : "");
    }
    return text;
}

/// Makes an interface of a hardware type, up and running while the returned descriptor is open;
/// -1: none.
int make_interface(const char *name, int hardware)
{
    descriptor file(open("/dev/net/tun", O_RDWR | O_CLOEXEC));
    const descriptor control(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    struct ifreq request = {};
    strncpy(request.ifr_name, name, sizeof request.ifr_name - 1);
    request.ifr_flags = IFF_TAP | IFF_NO_PI;
    if (file.fd < 0 || ioctl(file.fd, TUNSETIFF, &request) != 0 ||
        ioctl(file.fd, TUNSETLINK, hardware) != 0)
        return -1;
    request.ifr_flags = IFF_UP;
    return ioctl(control.fd, SIOCSIFFLAGS, &request) == 0 ? file.release() : -1;
}

} // namespace

TEST(SystemInterfaces, AreEthernetOnesAndNoTunnels)
{
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        GTEST_SKIP() << "no network namespace";
    const descriptor cable(make_interface("cable", ARPHRD_ETHER));
    const descriptor tunnel(make_interface("tunnel", ARPHRD_TUNNEL));
    if (cable.fd < 0 || tunnel.fd < 0)
        GTEST_SKIP() << "no /dev/net/tun";
    list_node *found = nullptr;
    enumerate_system_interfaces(&found);
    ASSERT_NE(found, nullptr);
    EXPECT_STREQ(static_cast<netinterface_info *>(found->data)->name, "cable");
    EXPECT_EQ(found->next, nullptr);
    list_free(&found);
}

TEST(Ifconfig, ReadsEthernetBlocksOfTheOldFormat)
{
    const interface_list interfaces(OLD_FORMAT);
    EXPECT_EQ(interfaces.known_format, 1);
    EXPECT_EQ(interfaces.summaries(),
              (std::vector<std::string>{
                  "eth0 192.168.1.10 192.168.1.255 fe80::20c:29ff:fe12:3456 fec0::1 2001:db8::2",
                  "an-interface-with-a-name-of-40- 012345678901234567890123456789012345678   "
                  "fd00:0123:4567:89ab:cdef:0123:4567:89ab "}));
}

TEST(Ifconfig, FindsNothingInAnyOtherOutput)
{
    const struct {
        std::string output;
        int known_format;
    } cases[] = {
        {"", 0},
        {NEW_FORMAT, 0},
        {std::string("\0\1\2\xff\n inet addr:1.2.3.4", 23), 0},
        {std::string(5000, 'x'), 0},
        {"          inet addr:1.2.3.4\n", 0},
        {"lo        Link encap:Local Loopback\n          inet addr:127.0.0.1\n", 1},
    };
    for (const auto &c : cases) {
        const interface_list interfaces(c.output);
        EXPECT_EQ(interfaces.head, nullptr) << c.output;
        EXPECT_EQ(interfaces.known_format, c.known_format) << c.output;
    }
    const interface_list long_line("eth0 Link encap:Ethernet " + std::string(5000, ' ') +
                                   "inet addr:1.2.3.4\n");
    EXPECT_EQ(long_line.summaries(), std::vector<std::string>{"eth0 1.2.3.4    "});
}

TEST(LineReader, TellsItsResultsApart)
{
    const scratch_folder folder;
    const std::string file = folder.write("lines", "one\n" + std::string(1500, 'x') + "\nlast");
    const auto count = [](const char *, void *context) {
        ++*static_cast<int *>(context);
        return 0;
    };
    int lines = 0;
    EXPECT_EQ(for_each_line(file.c_str(), count, &lines), 0);
    EXPECT_EQ(lines, 4);
    EXPECT_EQ(for_each_line("exec:printf 'a\\nb\\n'", count, &lines), 0);
    EXPECT_EQ(lines, 6);
    EXPECT_EQ(for_each_line("/nonexistent/file", count, &lines), -1);
    EXPECT_EQ(for_each_line(folder.path.c_str(), count, &lines), -2);
    EXPECT_EQ(for_each_line(nullptr, count, &lines), -3);
    EXPECT_EQ(for_each_line(file.c_str(), nullptr, &lines), -3);
    for (const int result : {-4, -3, -2, -1, 1, 7}) {
        int answer = result;
        const auto stop = [](const char *, void *context) { return *static_cast<int *>(context); };
        EXPECT_EQ(for_each_line(file.c_str(), stop, &answer),
                  result >= -3 && result < 0 ? 1 : result);
    }
}

TEST(Ipv6, CombinesPrefixAndIdentifier)
{
    const struct {
        const char *prefix;
        const char *identifier;
        const char *combined;
    } cases[] = {
        {"2001:db8::1", "fe80::211:22ff:fe33:4455", "2001:db8::211:22ff:fe33:4455"},
        {"fd00:1:2:3::1", "2001:db8:1:2:3:4:5:6", "fd00:1:2:3:3:4:5:6"},
        {"", "fe80::1", ""},
        {nullptr, "fe80::1", ""},
        {"fe80::1", nullptr, ""},
        {"10.0.0.1", "fe80::1", ""},
        {"fe80::1", "fe80::1%eth0", ""},
    };
    for (const auto &c : cases) {
        char combined[72] = "old";
        combine_ipv6_address(combined, sizeof combined, c.prefix, c.identifier);
        EXPECT_STREQ(combined, c.combined);
    }
}

TEST(Ipv6, ListsDevicesUnderTheirOtherAddresses)
{
    const struct {
        const char *host;
        const char *devices;
        const char *listed;
    } cases[] = {
        {"fe80::1 fec0::1 2001:db8::1", "fe80::5=x", "fec0::5=x 2001:db8::5=x"},
        {"fe80::1 fd00:9::1 2001:db8::1", "fe80::5", "fd00:9::5 2001:db8::5"},
        {"fe80::1 fec0::1 2001:db8::1", "fec0::5", "fe80::5 2001:db8::5"},
        {"fe80::1 fec0::1 2001:db8::1", "2001:db8::5", "fe80::5 fec0::5"},
        {"fe80::1 fd00:9::1 2001:db8::1", "fd00:9::5", "fe80::5 fd00:9::5"},
        {"fe80::1", "fe80::5", ""},
        {"fe80::1 2001:db8::1", "fe80:0:0:1::5 2001:db9::5", ""},
        {"", "10.0.0.5=p fe80::5 10.0.0.6 :", "10.0.0.5=p 10.0.0.6"},
        {"fe80::1 2001:db8::1", "10.0.0.5 fe80::5=a 2001:db8::5=b fe80::6",
         "10.0.0.5 2001:db8::5=a fe80::5=b 2001:db8::6"},
        {"fe80::1 fec0::1 2001:db8::1", "fe80::5=early 2001:db8::5=late",
         "fec0::5=late 2001:db8::5=early fe80::5=late"},
    };
    for (const auto &c : cases) {
        const interface_list interfaces(ethernet(c.host));
        device_list devices = nullptr;
        std::istringstream words(c.devices);
        for (std::string word; words >> word;) {
            const size_t equals = word.find('=');
            device_record *record =
                device_list_find_or_add(&devices, word.substr(0, equals).c_str());
            if (equals != std::string::npos)
                strncpy(record->dsc, word.c_str() + equals + 1, DSC_SIZE - 1);
            record->snmp_devtype = 7;
            record->record_state = 2;
        }
        derive_ipv6_addresses_on(&devices, interfaces.head);
        EXPECT_EQ(addresses_of(devices), c.listed) << c.devices;
        for (const list_node *node = devices; node != nullptr; node = node->next) {
            const auto *record = static_cast<const device_record *>(node->data);
            EXPECT_EQ(record->snmp_devtype, 7);
        }
        list_free(&devices);
    }
}

TEST(Ipv6, CompletesAnAddressWithAZoneOnThatInterfaceAlone)
{
    const interface_list interfaces("eth0      Link encap:Ethernet\n"
                                    "          inet6 addr: fe80::1/64 Scope:Link\n"
                                    "          inet6 addr: 2001:db8:1::1/64 Scope:Global\n"
                                    "lo        Link encap:Ethernet\n"
                                    "          inet6 addr: fd00:2::1/64 Scope:Global\n");
    const unsigned lo = if_nametoindex("lo");
    const struct {
        const char *ip;
        std::vector<unsigned> zones;
        const char *listed;
    } cases[] = {
        {"fe80::5", {lo}, "fd00:2::5"},
        {"fe80::5", {lo, 0}, "fd00:2::5 2001:db8:1::5"},
        {"fe80::1234:5678:9abc:def0", {4000000000}, "2001:db8:1:0:1234:5678:9abc:def0"},
        {"fe80:1234:1234:1234:1234:1234:1234:1234", {lo}, ""}, // no room for the zone
    };
    for (const auto &c : cases) {
        device_list devices = nullptr;
        for (const unsigned zone : c.zones) {
            char ip[IP_SIZE] = "";
            strncpy(ip, c.ip, sizeof ip - 1);
            if (zone != 0)
                append_zone(ip, zone);
            device_list_find_or_add(&devices, ip);
        }
        derive_ipv6_addresses_on(&devices, interfaces.head);
        EXPECT_EQ(addresses_of(devices), c.listed) << c.ip;
        list_free(&devices);
    }
}
