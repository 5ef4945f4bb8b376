// The SLP method of the built program in the lab network.
#include "device_line.h"
#include "program.h"
#include "scratch.h"
#include "slp_encoder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

std::string announced(const std::string &ip, const std::string &slp)
{
    return line_of(ip, "slp: " + slp + " snmp: 0,0,0 vendor:  dsc: \"\"");
}

/// The SLP requests of a record: destination, a blank and the bytes.
std::vector<std::pair<std::string, std::string>> slp_requests(const std::string &record,
                                                              const std::string &protocol)
{
    std::vector<std::pair<std::string, std::string>> found;
    std::istringstream lines(requests(record, protocol));
    std::string destination;
    size_t length = 0;
    std::string hex;
    while (lines >> destination >> length >> hex) {
        std::string bytes;
        for (size_t i = 0; i + 1 < hex.size(); i += 2)
            bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
        found.emplace_back(destination, bytes);
    }
    return found;
}

} // namespace

TEST(LabSlp, ListsAnnouncedPrintersWithTheirProtocols)
{
    const lab_setup lab = {
        "device 10.9.1.1 slp.url=\"service:printer:lpr://%a:515/queue\" "
        "id=\"MFG:Taliven;MDL:QD-1;CLS:PRINTER\"\n"
        "device 10.9.1.2 slp.url=\"service:printer:ipp://%a/ipp\"\n"
        "device 10.9.1.3 slp.url=\"service:printer:raw-tcp://%a:9100\" "
        "slp.url=\"service:printer:ipp://%a:631/ipp\" slp.repeat=2\n"
        "device 10.9.1.4 slp.url=\"service:printer:socket://%a:9100\" slp.delay=600\n"
        "device 10.9.1.5 slp.url=\"service:scanner:ipp://%a\" slp.url=\"service:printer:lpr:%a\"\n"
        "device 10.9.1.6 slp.url=\"service:printer:ipps://a-host-of-many-characters/\"\n"
        "device 10.9.1.7 slp.url=\"service:printer:lpr://%a\" slp.scopes=other\n"
        "device 10.9.1.8 slp.url=\"service:printer:lpr://%a\" slp.lie=auth\n"
        "device 10.9.1.9 slp.url=\"service:printer:lpr://%a\" slp.url=\"service:printer:lpr://x\" "
        "slp.lie=url-length\n"
        "device 10.9.1.10 slp.url=\"service:printer:lpr://%a\" slp.lie=xid\n"
        "device 10.9.1.11 slp.url=\"service:printer:lpr://%a\" slp.lie=error\n"
        "device 10.9.1.12 slp.url=\"service:printer:lpr://%a\" slp.lie=version\n"
        "device 10.9.1.13 slp.raw=02020000\n",
        {}};
    const lab_result child = devscout_in_lab(lab, {"-s", "--slp"});
    SKIP_NO_LAB(child);
    const std::string first = announced("10.9.1.1", "1,0,1,0");
    const std::string others = announced("10.9.1.2", "1,1,0,0") + announced("10.9.1.3", "1,1,0,1") +
                               announced("10.9.1.4", "0,0,0,0") + announced("10.9.1.8", "1,0,1,0") +
                               announced("10.9.1.9", "1,0,1,0") +
                               announced("a-host-of-many-", "1,1,0,0");
    EXPECT_EQ(sorted_devices(child.program.out), first + others);
    EXPECT_EQ(child.program.err, "");

    const lab_result parent = devscout_in_lab(lab, {});
    const std::string numbers = first.substr(0, first.find(" vendor:"));
    EXPECT_EQ(sorted_devices(parent.program.out),
              numbers + " vendor: Taliven dsc: \"QD-1\"\n" + others);
}

TEST(LabSlp, SendsRequestsThatAnAgentAccepts)
{
    const lab_result result = devscout_in_lab(
        {"device 10.9.1.1 slp.url=\"service:printer:lpr://%a\"\n", {}}, {"-s", "--slp"});
    SKIP_NO_LAB(result);
    const auto sent = slp_requests(result.record, "slp");
    const struct {
        const char *type;
        const char *responders;
    } expected[] = {{"service:directory-agent", ""},
                    {"service:directory-agent", ""},
                    {"service:printer", ""},
                    {"service:printer", "10.9.1.1"}};
    ASSERT_EQ(sent.size(), std::size(expected));
    for (size_t i = 0; i < sent.size(); ++i) {
        const std::string &bytes = sent[i].second;
        EXPECT_EQ(sent[i].first, "239.255.255.253:427");
        EXPECT_EQ(wire_request_texts(bytes),
                  (std::vector<std::string>{"en", expected[i].responders, expected[i].type,
                                            "default", "", ""}));
        EXPECT_EQ(wire_number_at(bytes, FLAGS_FIELD), 0x2000U) << "request multicast";
        EXPECT_EQ(wire_number_at(bytes, XID_FIELD),
                  wire_number_at(sent[i / 2 * 2].second, XID_FIELD))
            << "one number a search";
    }
}

TEST(LabSlp, AsksDirectoryAgents)
{
    const std::string registered = "device 10.9.1.1 slp.da.url=\"service:printer:lpr://%a\"\n"
                                   "device 10.9.1.2 slp.url=\"service:printer:ipp://%a\"\n";
    const struct {
        const char *agent;
        const char *configuration;
        std::string listed;
        bool multicast; ///< whether the services are searched by multicast
        bool tcp;
    } cases[] = {
        {"slp.da slp.da.hidden", "net.slp.DAAddresses = 10.9.0.50\n",
         announced("10.9.1.1", "1,0,1,0"), false, false},
        {"slp.da", "", announced("10.9.1.1", "1,0,1,0"), false, false},
        {"slp.da slp.da.overflow", "", announced("10.9.1.1", "1,0,1,0"), false, true},
        {"slp.da slp.da.error=2", "", announced("10.9.1.2", "1,1,0,0"), true, false},
        {"slp.da", "net.slp.activeDADetection = false\n", announced("10.9.1.2", "1,1,0,0"), true,
         false},
        {"slp.da slp.scopes=other", "", announced("10.9.1.2", "1,1,0,0"), true, false},
        // The agent serves one of the two scopes: the other is searched by multicast.
        {"slp.da slp.scopes=other", "net.slp.useScopes = other,default\n",
         announced("10.9.1.1", "1,0,1,0") + announced("10.9.1.2", "1,1,0,0"), true, false},
    };
    for (const auto &c : cases) {
        const scratch_folder etc;
        etc.write("slp.conf", std::string("# for the test\n") + c.configuration);
        const lab_result result = devscout_in_lab(
            {registered + "device 10.9.0.50 " + c.agent + "\n", {"--etc", etc.path.string()}},
            {"-s", "--slp"});
        SKIP_NO_LAB(result);
        EXPECT_EQ(sorted_devices(result.program.out), c.listed) << c.agent << c.configuration;
        bool multicast = false;
        for (const auto &request : slp_requests(result.record, "slp")) {
            const bool searched = request.second.find("service:printer") != std::string::npos;
            multicast = multicast || (searched && request.first == "239.255.255.253:427");
            const bool configured =
                std::string(c.configuration).find("DAAddr") != std::string::npos;
            EXPECT_TRUE(!configured || request.first == "10.9.0.50:427") << request.first;
        }
        EXPECT_EQ(multicast, c.multicast) << c.agent << c.configuration;
        EXPECT_EQ(!slp_requests(result.record, "slp-tcp").empty(), c.tcp) << c.agent;
    }
}
