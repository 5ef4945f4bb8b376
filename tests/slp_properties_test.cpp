// The agent's properties file and the lists in it.
#include "scratch.h"
#include "slp/agent/properties.h"
#include "slp/agent/value_list.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace
{

using namespace std::string_literals;

std::string shown(const slp_timeouts &timeouts)
{
    std::string text;
    for (size_t i = 0; i < timeouts.count; ++i)
        text += (i > 0 ? "," : "") + std::to_string(timeouts.ms[i]);
    return text;
}

std::vector<std::string> shown(const slp_properties &p)
{
    return {"scopes " + p.use_scopes,
            "das " + slp_join_list(p.da_addresses),
            "interfaces " + slp_join_list(p.interfaces),
            "active " + std::to_string(p.active_da_detection),
            "broadcast " + std::to_string(p.is_broadcast_only),
            "da wait " + std::to_string(p.da_discovery_maximum_wait),
            "wait " + std::to_string(p.multicast_maximum_wait),
            "da times " + shown(p.da_discovery_timeouts),
            "times " + shown(p.multicast_timeouts),
            "ttl " + std::to_string(p.multicast_ttl),
            "mtu " + std::to_string(p.mtu),
            "max " + std::to_string(p.max_results)};
}

/// The properties that are not as by default, as "name value".
std::string changed(const slp_properties &properties)
{
    const std::vector<std::string> defaults = shown(slp_properties());
    std::string text;
    for (const std::string &property : shown(properties))
        if (std::count(defaults.begin(), defaults.end(), property) == 0)
            text += property;
    return text;
}

} // namespace

TEST(SlpProperties, LinesChangeWhatTheyNameIfTheyRead)
{
    EXPECT_EQ(slp_join_list(shown(slp_properties())),
              "scopes default,das ,interfaces ,active 1,broadcast 0,da wait 2000,wait 5000,"
              "da times 500,750,1000,1500,2000,3000,times 500,750,1000,1500,2000,3000,"
              "ttl 8,mtu 1400,max 65536");
    const std::string longest(1024, 's');
    const struct {
        std::string text;
        std::string changed;
    } cases[] = {
        {"net.slp.useScopes = lab , Office", "scopes lab,Office"},
        {"net.slp.DAAddresses = 10.0.0.9,,da.example", "das 10.0.0.9,da.example"},
        {"net.slp.activeDADetection = FALSE\r\n", "active 0"},
        {"net.slp.activeDADetection = off\nnet.slp.activeDADetection = 1", ""},
        {"net.slp.activeDADetection = 0", "active 0"},
        {"net.slp.isBroadcastOnly\t=\tyes", "broadcast 1"},
        {"net.slp.DADiscoveryTimeouts = 10, 20", "da times 10,20"},
        {"net.slp.multicastMaximumWait = 600000", "wait 600000"},
        {"net.slp.multicastTimeouts = 1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16",
         "times 1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16"},
        {"net.slp.multicastTTL = 255", "ttl 255"},
        {"net.slp.MTU = 129\nnet.slp.MTU = 128\nnet.slp.MTU = x", "mtu 128"},
        {"net.slp.interfaces = 10.0.0.1", "interfaces 10.0.0.1"},
        {"net.slp.maxResults = 256", "max 256"},
        {"net.slp.maxResults = 7\nnet.slp.maxResults = -1", ""},
        {"net.slp.useScopes = " + longest + "\nnet.slp.useScopes = " + longest + "s",
         "scopes " + longest},
        {"net.slp.useScopes=\nnet.slp.useScopes = ,,\nnet.slp.useScopes = a\0b\n"s, ""},
        {"net.slp.activeDADetection = 00\nnet.slp.isBroadcastOnly = truely", ""},
        {"net.slp.DADiscoveryMaximumWait = -1\nnet.slp.multicastMaximumWait = 600001", ""},
        {"net.slp.multicastTimeouts = 7,x\nnet.slp.multicastTimeouts = 7,0", ""},
        {"net.slp.multicastTimeouts =\nnet.slp.multicastTTL = -1", ""},
        {"net.slp.MTU = 1300 bytes\nnet.slp.maxResults = 0\nnet.slp.MTU = 128\0\n"s, ""},
        {"# net.slp.MTU = 128\n  ; net.slp.MTU = 128\nnet.slp.MTU 128\n", ""},
        {"net.slp.MTUs = 128\n= 128\n=\n\n", ""},
    };
    for (const auto &c : cases) {
        slp_properties properties;
        slp_properties_parse(c.text, &properties);
        EXPECT_EQ(changed(properties), c.changed) << c.text;
    }
}

TEST(SlpProperties, FileIsReadToItsLimitAndNoCutLineIsTaken)
{
    const scratch_folder folder;
    EXPECT_EQ(changed(slp_properties_read((folder.path / "missing").c_str())), "");
    EXPECT_EQ(changed(slp_properties_read(folder.path.c_str())), "");
    const std::string first = "# a comment\nnet.slp.maxResults = 6";
    const std::string path = folder.write("slp.conf", first);
    EXPECT_EQ(changed(slp_properties_read(path.c_str())), "max 6");
    // The limit falls between the digits of the second value.
    const std::string second = "\nnet.slp.maxResults = 78";
    const std::string padding(size_t{256} * 1024 - first.size() - second.size(), '#');
    folder.write("slp.conf", first + "\n" + padding + second);
    EXPECT_EQ(changed(slp_properties_read(path.c_str())), "max 6");
}
