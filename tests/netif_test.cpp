// The host's interfaces and the completion of IPv6 addresses.
#include "config/text.h"
#include "io/netlink.h"
#include "netif/derive_ipv6.h"
#include "netif/ifconfig.h"
#include "records.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <linux/rtnetlink.h>
#include <memory>
#include <net/if.h>
#include <string>
#include <sys/socket.h>

namespace
{

constexpr char OLD_FORMAT[] =
    "eth0      Link encap:Ethernet  HWaddr 00:0c:29:12:34:56  \n"
    "          inet addr:192.168.1.10  Bcast:192.168.1.255  Mask:255.255.255.0\n"
    "          inet6 addr: fe80::20c:29ff:fe12:3456/64 Scope:Link\n"
    "          inet6 addr: fec0::1/64 Scope:Site\n"
    "          inet6 addr: 2001:db8::1/64 Scope:Global\n"
    "          inet6 addr: 2001:db8::2/64 Scope:Global inet addr:9.9.9.9\n"
    "\n"
    "lo        Link encap:Local Loopback  \n"
    "          inet addr:127.0.0.1  Mask:255.0.0.0\n"
    "an-interface-with-a-name-of-40-characters Link encap:Ethernet\n"
    "          inet addr:012345678901234567890123456789012345678901\n"
    "          inet6 addr: fd00:0123:4567:89ab:cdef:0123:4567:89ab:cdef/64\n";

std::string fields_of(const netinterface_info &i)
{
    return std::string(i.name) + "," + i.inet_addr + "," + i.bcast_addr + "," + i.inet6_link_addr +
           "," + i.inet6_site_addr + "," + i.inet6_global_addr;
}

std::string ip_and_dsc(const device_record &record)
{
    return std::string(record.ip) + "=" + record.dsc;
}

/// Reads the output of ifconfig. Returns whether its format is known.
int read_interfaces(test_list *interfaces, const std::string &output)
{
    const scratch_folder folder;
    return enumerate_interfaces_from(&interfaces->head, folder.write("output", output).c_str());
}

std::string ethernet(const std::string &name, const std::string &addresses)
{
    std::string output = name + "      Link encap:Ethernet\n";
    std::istringstream words(addresses);
    for (std::string word; words >> word;)
        output += "          inet6 addr: " + word + "/64 Scope:x\n";
    return output;
}

} // namespace

TEST(Netlink, TellsPortsFromMembersOfAVrf)
{
    const auto attribute = [](unsigned short type, std::string value) {
        const auto length = static_cast<unsigned short>(RTA_LENGTH(value.size()));
        value.resize(RTA_ALIGN(value.size()));
        return std::string(reinterpret_cast<const char *>(&length), sizeof length) +
               std::string(reinterpret_cast<const char *>(&type), sizeof type) + value;
    };
    const std::string master = attribute(IFLA_MASTER, std::string("\x07\0\0\0", 4));
    const auto serving = [&](const std::string &kind) {
        const std::string name = attribute(IFLA_INFO_KIND, "vrf");
        return master + attribute(IFLA_LINKINFO | NLA_F_NESTED,
                                  name + attribute(IFLA_INFO_SLAVE_KIND, kind));
    };
    const std::pair<std::string, bool> cases[] = {
        {master, true},
        {serving("bridge"), true},
        {serving(std::string("vrf\0", 4)), false},
        {serving("vrf2"), true},
        {attribute(IFLA_MASTER, std::string(4, '\0')), false},
        {attribute(IFLA_MASTER, "\x07"), false}, // too short to be read
    };
    for (const auto &[attributes, serves_master] : cases) {
        struct nlmsghdr header = {};
        header.nlmsg_type = RTM_NEWLINK;
        std::string message(NLMSG_SPACE(sizeof(struct ifinfomsg)), '\0');
        message += attributes;
        header.nlmsg_len = static_cast<uint32_t>(message.size());
        memcpy(message.data(), &header, sizeof header);
        const auto list = std::make_unique<host_interfaces>();
        netlink_target target = {list.get(), nullptr, false};
        read_netlink_messages(reinterpret_cast<const uint8_t *>(message.data()), message.size(),
                              &target);
        ASSERT_EQ(list->interface_count, 1U);
        EXPECT_EQ(list->interfaces[0].serves_master, serves_master) << attributes;
    }
}

TEST(Ifconfig, ReadsEthernetBlocksOfTheOldFormatAlone)
{
    const struct {
        std::string output;
        int known_format;
        const char *interfaces;
    } cases[] = {
        {OLD_FORMAT, 1,
         "eth0,192.168.1.10,192.168.1.255,fe80::20c:29ff:fe12:3456,fec0::1,2001:db8::2 "
         "an-interface-with-a-name-of-40-,012345678901234567890123456789012345678,,,"
         "fd00:0123:4567:89ab:cdef:0123:4567:89ab,"},
        {"eth0: flags=4163<UP>  mtu 1500\n        inet 192.168.1.10  netmask 255.0.0.0\n", 0, ""},
        {"          inet addr:1.2.3.4\n", 0, ""},
        {"lo        Link encap:Local Loopback\n", 1, ""},
        {"eth0 Link encap:Ethernet " + std::string(5000, ' ') + "inet addr:1.2.3.4\n", 1,
         "eth0,1.2.3.4,,,,"},
    };
    for (const auto &c : cases) {
        test_list interfaces;
        EXPECT_EQ(read_interfaces(&interfaces, c.output), c.known_format) << c.output;
        EXPECT_EQ(joined(interfaces.head, fields_of), c.interfaces);
    }
}

TEST(Ipv6, ListsDevicesUnderTheirOtherAddresses)
{
    const std::string hosts = ethernet("eth0", "fe80::1 2001:db8::1") + ethernet("lo", "fd00:2::1");
    const struct {
        std::string host; ///< the interfaces, or the addresses of the only one
        const char *devices;
        const char *listed;
    } cases[] = {
        {"fe80::1 fec0::1 2001:db8::1", "fe80::5", "fec0::5=0 2001:db8::5=0"},
        {"fe80::1 fd00:9::1 2001:db8::1", "fe80::5", "fd00:9::5=0 2001:db8::5=0"},
        {"fe80::1 fec0::1 2001:db8::1", "fec0::5", "fe80::5=0 2001:db8::5=0"},
        {"fe80::1 fec0::1 2001:db8::1", "2001:db8::5", "fe80::5=0 fec0::5=0"},
        {"fe80::1 fd00:9::1 2001:db8::1", "fd00:9::5", "fe80::5=0 fd00:9::5=0"},
        {"fe80::1", "fe80::5", ""},
        {"fe80::1 2001:db8::1", "fe80:0:0:1::5 2001:db9::5", ""},
        {"", "10.0.0.5 fe80::5 10.0.0.6 :", "10.0.0.5=0 10.0.0.6=2"},
        {"fe80::1 2001:db8::1", "10.0.0.5 fe80::5 2001:db8::5 fe80::6",
         "10.0.0.5=0 2001:db8::5=1 fe80::5=2 2001:db8::6=3"},
        {"fe80::1 fec0::1 2001:db8::1", "fe80::5 2001:db8::5", "fec0::5=1 2001:db8::5=0 fe80::5=1"},
        // With a zone the address is completed on that interface alone.
        {hosts, "fe80::5%lo", "fd00:2::5=0"},
        {hosts, "fe80::5%lo fe80::5", "fd00:2::5=0 2001:db8::5=1"},
        {hosts, "fe80::1234:5678:9abc:def0%none", "2001:db8::1234:5678:9abc:def0=0"},
        {hosts, "fe80:1234:1234:1234:1234:1234:1234:1234%lo", ""}, // no room for the zone
    };
    for (const auto &c : cases) {
        test_list interfaces;
        read_interfaces(&interfaces, c.host == hosts ? hosts : ethernet("eth0", c.host));
        test_list devices;
        std::istringstream words(c.devices);
        std::string word;
        for (char number = '0'; words >> word; ++number) {
            const size_t percent = word.find('%');
            char ip[IP_SIZE];
            safe_strncpy(ip, word.substr(0, percent).c_str(), sizeof ip);
            if (percent != std::string::npos)
                append_zone(ip, word.substr(percent) == "%lo" ? if_nametoindex("lo") : 4000000000U);
            device_record *record = devices.device(ip);
            record->dsc[0] = number;
        }
        derive_ipv6_addresses_on(&devices.head, interfaces.head);
        EXPECT_EQ(joined(devices.head, ip_and_dsc), c.listed) << c.devices;
    }
}

TEST(Ipv6, CarriesOverEveryFieldButWhatOtherMethodsFoundAtTheOldAddress)
{
    test_list interfaces;
    read_interfaces(&interfaces, ethernet("eth0", "fe80::1 2001:db8::1"));
    test_list devices;
    device_record *record = devices.device("fe80::5");
    memset(record, 1, sizeof *record); // a further field is not zero either
    device_record expected = *record;
    safe_strncpy(record->ip, "fe80::5", sizeof record->ip);
    derive_ipv6_addresses_on(&devices.head, interfaces.head);

    memset(expected.ip, 0, sizeof expected.ip);
    safe_strncpy(expected.ip, "2001:db8::5", sizeof expected.ip);
    expected.record_state = 0;
    for (uint8_t *field : {&expected.slp_detected, &expected.slp_ipp, &expected.slp_lpr,
                           &expected.slp_raw_tcp, &expected.nodeq_detected, expected.scan_info})
        *field = 0;
    expected.nodeq_text_a[0] = expected.nodeq_text_b[0] = '\0';
    ASSERT_NE(devices.head, nullptr);
    const auto bytes_of = [](const void *completed) {
        return std::string(static_cast<const char *>(completed), sizeof(device_record));
    };
    EXPECT_EQ(bytes_of(devices.head->data), bytes_of(&expected));
}
