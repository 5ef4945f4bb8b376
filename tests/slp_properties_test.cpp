// The agent's properties file and the lists in it.
#include "slp/agent/properties.h"
#include "slp/agent/value_list.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// All properties as one text, to be compared at a glance.
std::string shown(const slp_properties &p)
{
    const auto timeouts = [](const slp_timeouts &t) {
        std::string text;
        for (size_t i = 0; i < t.count; ++i)
            text += (i > 0 ? "," : "") + std::to_string(t.ms[i]);
        return text;
    };
    return "scopes " + p.use_scopes + " das " + slp_join_list(p.da_addresses) + " active " +
           std::to_string(p.active_da_detection) + " dawait " +
           std::to_string(p.da_discovery_maximum_wait) + " datimes " +
           timeouts(p.da_discovery_timeouts) + " broadcast " + std::to_string(p.is_broadcast_only) +
           " wait " + std::to_string(p.multicast_maximum_wait) + " times " +
           timeouts(p.multicast_timeouts) + " ttl " + std::to_string(p.multicast_ttl) + " mtu " +
           std::to_string(p.mtu) + " interfaces " + slp_join_list(p.interfaces) + " max " +
           std::to_string(p.max_results);
}

const std::string DEFAULTS =
    "scopes default das  active 1 dawait 2000 datimes 500,750,1000,1500,2000,3000 broadcast 0 "
    "wait 5000 times 500,750,1000,1500,2000,3000 ttl 8 mtu 1400 interfaces  max 256";

std::string parsed(const std::string &text)
{
    slp_properties properties;
    slp_properties_parse(text, &properties);
    return shown(properties);
}

/// The defaults with one text in them replaced.
std::string defaults_but(const std::string &from, const std::string &to)
{
    std::string text = DEFAULTS;
    return text.replace(text.find(from), from.size(), to);
}

struct temporary_folder {
    char path[32] = "/tmp/slp_properties.XXXXXX";

    temporary_folder()
    {
        EXPECT_NE(mkdtemp(path), nullptr);
    }
    temporary_folder(const temporary_folder &) = delete;
    temporary_folder &operator=(const temporary_folder &) = delete;
    ~temporary_folder()
    {
        unlink(file("slp.conf").c_str());
        rmdir(path);
    }

    std::string file(const char *name) const
    {
        return std::string(path) + "/" + name;
    }
};

} // namespace

TEST(SlpProperties, LinesChangeWhatTheyName)
{
    const struct {
        const char *text;
        const char *from; ///< part of the defaults that the text changes
        const char *to;
    } cases[] = {
        {"net.slp.useScopes = lab , Office", "scopes default", "scopes lab,Office"},
        {"net.slp.useScopes=", "", ""},
        {"net.slp.useScopes = ,,", "", ""},
        {"net.slp.DAAddresses = 10.0.0.9,,da.example", "das ", "das 10.0.0.9,da.example"},
        {"net.slp.activeDADetection = FALSE\r\n", "active 1", "active 0"},
        {"net.slp.activeDADetection = 0", "", ""},
        {"net.slp.isBroadcastOnly\t=\ttrue", "broadcast 0", "broadcast 1"},
        {"net.slp.isBroadcastOnly = truely", "", ""},
        {"net.slp.DADiscoveryMaximumWait = 1", "dawait 2000", "dawait 1"},
        {"net.slp.DADiscoveryMaximumWait = 0", "", ""},
        {"net.slp.DADiscoveryTimeouts = 10, 20", "datimes 500,750,1000,1500,2000,3000",
         "datimes 10,20"},
        {"net.slp.multicastMaximumWait = 600000", " wait 5000", " wait 600000"},
        {"net.slp.multicastMaximumWait = 600001", "", ""},
        {"net.slp.multicastTimeouts = 7", " times 500,750,1000,1500,2000,3000", " times 7"},
        {"net.slp.multicastTimeouts = 7,x", "", ""},
        {"net.slp.multicastTimeouts = 7,0", "", ""},
        {"net.slp.multicastTimeouts = 7,60001", "", ""},
        {"net.slp.multicastTimeouts =", "", ""},
        {"net.slp.multicastTimeouts = 1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1",
         " times 500,750,1000,1500,2000,3000", " times 1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1"},
        {"net.slp.multicastTimeouts = 1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1,1", "", ""},
        {"net.slp.multicastTTL = 255", "ttl 8", "ttl 255"},
        {"net.slp.multicastTTL = 256", "", ""},
        {"net.slp.multicastTTL = -1", "", ""},
        {"net.slp.MTU = 1300 bytes", "", ""},
        {"net.slp.MTU = 127", "", ""},
        {"net.slp.MTU = 128", "mtu 1400", "mtu 128"},
        {"net.slp.MTU = 99999999999999999999", "", ""},
        {"net.slp.interfaces = 10.0.0.1", "interfaces ", "interfaces 10.0.0.1"},
        {"net.slp.maxResults = 1", "max 256", "max 1"},
        {"net.slp.maxResults = -1", "max 256", "max 65536"},
        {"net.slp.maxResults = 0", "", ""},
        {"net.slp.maxResults = -2", "", ""},
        {"# net.slp.MTU = 128", "", ""},
        {"  ; net.slp.MTU = 128", "", ""},
        {"net.slp.MTU 128", "", ""},
        {"net.slp.MTUs = 128\n= 128\n=\n\n", "", ""},
        {"net.slp.MTU = 128\nnet.slp.MTU = 129\nnet.slp.MTU = x", "mtu 1400", "mtu 129"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(parsed(c.text), defaults_but(c.from, c.to)) << c.text;
}

TEST(SlpProperties, LinesWithNulsAreNoText)
{
    using namespace std::string_literals;
    EXPECT_EQ(parsed("net.slp.MTU = 128\0\nnet.slp.useScopes = a\0b\nnet.slp.maxResults = 9"s),
              defaults_but("max 256", "max 9"));
}

TEST(SlpProperties, LongListsAreBounded)
{
    std::string addresses = "net.slp.DAAddresses = 10.0.0.1";
    for (int i = 0; i < 1000; ++i)
        addresses += ",10.0.0.1";
    slp_properties properties;
    slp_properties_parse(addresses, &properties);
    EXPECT_EQ(properties.da_addresses.size(), SLP_ADDRESSES_MAX);
    EXPECT_EQ(parsed("net.slp.useScopes = " + std::string(5000, 's')), DEFAULTS);
}

TEST(SlpProperties, FileThatCannotBeReadLeavesTheDefaults)
{
    const temporary_folder folder;
    EXPECT_EQ(shown(slp_properties_read(folder.file("missing").c_str())), DEFAULTS);
    EXPECT_EQ(shown(slp_properties_read(folder.path)), DEFAULTS);
    const std::string path = folder.file("slp.conf");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(shown(slp_properties_read(path.c_str())), DEFAULTS);
    unlink(path.c_str());
    std::ofstream(path).close();
    EXPECT_EQ(shown(slp_properties_read(path.c_str())), DEFAULTS);
}

TEST(SlpProperties, FileIsReadToItsLimitAndNoCutLineIsTaken)
{
    const temporary_folder folder;
    const std::string path = folder.file("slp.conf");
    std::ofstream(path) << "# a comment\nnet.slp.maxResults = 5";
    EXPECT_EQ(slp_properties_read(path.c_str()).max_results, 5);
    // The limit falls between the digits of the second value.
    const std::string first = "net.slp.maxResults = 6\n";
    const std::string second = "\nnet.slp.maxResults = 78";
    const std::string padding(size_t{256} * 1024 - first.size() - second.size() + 1, '#');
    std::ofstream(path) << first << padding << second;
    EXPECT_EQ(slp_properties_read(path.c_str()).max_results, 6);
}

TEST(SlpScopes, OverlapIgnoresCaseAndBlanks)
{
    const struct {
        const char *a;
        const char *b;
        bool overlap;
    } cases[] = {
        {"default", "DEFAULT", true},
        {"lab, default", "office,Default ", true},
        {"default", "defaults", false},
        {"default", "", false},
        {"", "", false},
        {",", ",", false},
        {"a b", "a  b", false},
        {"default", "lab,office", false},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(slp_scopes_overlap(c.a, c.b), c.overlap) << c.a << " and " << c.b;
        EXPECT_EQ(slp_scopes_overlap(c.b, c.a), c.overlap) << c.b << " and " << c.a;
    }
}
