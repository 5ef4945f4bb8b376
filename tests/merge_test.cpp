// How the parent merges its children's lines.
#include "capture.h"
#include "config/text.h"
#include "driver/lines.h"
#include "driver/merge.h"
#include "records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace
{

constexpr int NODEQ_SLOT = 3;
constexpr int DESC_SLOT = 5;

/// A parent's lists and slots, without children. It knows one device already.
struct parent {
    parent_run run = {};
    device_record *known = device_list_find_or_add(&run.devices, "a", &run.device_index);

    explicit parent(const std::string &dsc)
    {
        safe_strncpy(known->dsc, dsc.c_str(), sizeof known->dsc);
    }
    ~parent()
    {
        list_free(&run.devices);
        list_free(&run.queue);
    }

    void read(int slot, std::string line)
    {
        merge_line(&run, line.data(), slot);
    }
};

std::string repeated(const std::string &text, int count)
{
    return count == 0 ? "" : text + repeated(text, count - 1);
}

std::string texts_and_numbers(const device_record &record)
{
    std::string text = std::string(record.ip) + "|";
    for (const uint8_t number :
         {record.slp_detected, record.slp_ipp, record.slp_lpr, record.slp_raw_tcp,
          record.snmp_detected, record.snmp_devtype, record.snmp_description})
        text += std::to_string(number) + ",";
    return text + record.vendor;
}

} // namespace

TEST(MergeDiscovery, TakesOverEveryFieldThatIsPrinted)
{
    device_record record;
    memset(&record, 1, sizeof record); // a further number is not zero either
    safe_strncpy(record.ip, "a", sizeof record.ip);
    safe_strncpy(record.dsc, "QD-77", sizeof record.dsc);
    safe_strncpy(record.vendor, "Taliven", sizeof record.vendor);
    const std::string line = printed_by([&] { print_device_line(&record); });
    parent p("");
    p.read(0, line);
    EXPECT_EQ(printed_by([&] { print_device_line(p.known); }), line);
    safe_strncpy(record.vendor, std::string(31, '\xfc').c_str(), sizeof record.vendor);
    safe_strncpy(record.dsc, std::string(95, '\xfc').c_str(), sizeof record.dsc);
    EXPECT_EQ(printed_by([&] { print_device_line(&record); }),
              line.substr(0, line.find("Taliven")) + repeated("\xc3\xbc", 31) + " dsc: \"" +
                  repeated("\xc3\xbc", 95) + "\"\n");
}

TEST(MergeDiscovery, ReadsSlotsOfMethodsAndQueuesWhatSnmpReportsUndescribed)
{
    const struct {
        const char *before;
        const char *vendor;
        int slot;
        bool queued;
    } cases[] = {
        {"", "V", 0, true},  {"", "V", 1, true},  {"#[N]", "V", 1, true}, {"Laser", "V", 0, false},
        {"", "V", 2, false}, {"", "V", 3, false}, {"", "", 4, false},     {"", "", 11, false},
    };
    for (const auto &c : cases) {
        parent p(c.before);
        p.read(c.slot, "ip: a vendor: V dsc: \"Model\"\n");
        p.read(c.slot, "ip: a vendor: V dsc: \"Model\"\n");
        ASSERT_EQ(p.run.queue != nullptr, c.queued) << c.slot << c.before;
        EXPECT_TRUE(!c.queued || p.run.queue->next == nullptr) << "queued twice";
        EXPECT_STREQ(p.known->vendor, c.vendor) << c.slot;
    }
}

TEST(MergeDiscovery, ReadsAddressNumbersAndVendor)
{
    const std::string x40(40, 'x');
    const std::string wide20 = repeated("\xc3\xbc", 20);
    const std::pair<std::string, std::string> cases[] = {
        {"ip: a snmp: 300,1,2 vendor: ", "a|0,0,0,1,44,1,2,old"},
        {"ip: a snmp:  0, 8,-1 vendor: ", "a|0,0,0,1,0,8,255,old"},
        {"ip: a snmp: 1 ,2,3 vendor: ", "a|0,0,0,1,9,9,9,old"},
        {"ip: a vendor: snmp: 1,2,3 ", "a|0,0,0,1,9,9,9,old"},
        {"ip: a snmp: 1,2,3", "a|0,0,0,1,9,9,9,old"},
        {"ip: a snmp: " + std::string(249, ' ') + "1,2,3 vendor: ", "a|0,0,0,1,1,2,3,old"},
        {"ip: a snmp: " + std::string(249, ' ') + "1,2,34 vendor: ", "a|0,0,0,1,9,9,9,old"},
        {"ip: a slp: 1,0,2,0 snmp:", "a|1,0,1,1,9,9,9,old"},
        {"ip: a slp: 1,1,1 snmp:", "a|0,0,0,1,9,9,9,old"},
        {"ip: a vendor: Two Words dsc: \"x\"\n", "a|0,0,0,1,9,9,9,Two"},
        {"ip: a vendor:  dsc: \"x\"\n", "a|0,0,0,1,9,9,9,old"},
        {"ip: a vendor: Taliven \n", "a|0,0,0,1,9,9,9,old"},
        {"ip: a dsc: \"x\" vendor: Late \n", "a|0,0,0,1,9,9,9,UNKNOWN"},
        {"ip: a dsc: \"x vendor: Open \n", "a|0,0,0,1,9,9,9,Open"},
        {"ip: a vendor: Torn dsc:", "a|0,0,0,1,9,9,9,Torn"},
        {"ip: a dsc: vendor: Cut", "a|0,0,0,1,9,9,9,old"},
        {"ip: a vendor: " + x40 + " dsc: \"\"\n", "a|0,0,0,1,9,9,9," + x40.substr(9)},
        {"ip: a vendor: " + wide20 + " dsc: \"\"\n", "a|0,0,0,1,9,9,9," + wide20.substr(10)},
        {"ip:", "|0,0,0,0,0,0,0,"},
        {"ip: fe80::1\tx", "fe80::1|0,0,0,0,0,0,0,"},
        {"noise ip: 10.0.0.7 ip: 10.0.0.8 ", "10.0.0.7|0,0,0,0,0,0,0,"},
        {"ip: 10.0.0.7\n", "10.0.0.7\n|0,0,0,0,0,0,0,"},
        {"ip: " + x40 + " ", x40.substr(1) + "|0,0,0,0,0,0,0,"},
    };
    for (const auto &[line, after] : cases) {
        parent p("");
        safe_strncpy(p.known->vendor, "old", sizeof p.known->vendor);
        p.known->slp_raw_tcp = 1;
        p.known->snmp_detected = p.known->snmp_devtype = p.known->snmp_description = 9;
        p.read(NODEQ_SLOT, line);
        const std::string all = joined(p.run.devices, texts_and_numbers);
        EXPECT_EQ(all.substr(all.size() - std::min(all.size(), after.size())), after) << line;
        EXPECT_EQ(p.run.devices->next == nullptr, after[0] == 'a') << line;
    }
}

TEST(MergeDiscovery, PutsRealBeforeProvisionalDescriptions)
{
    const std::string x90(90, 'x');
    const struct {
        std::string before;
        std::string text;
        int scanner;
        std::string after;
    } cases[] = {
        {"", "Laser", 0, "Laser"},
        {"", "#[N] i", 0, "#[N] i"},
        {"", "#[N] i", 1, ""},
        {"Laser", "#[N] i", 0, "Laser [N] i"},
        {"#[N] i", "#[M] j", 0, "#[N] i [M] j"},
        {"#[N] i", "Laser", 1, "Laser [N] i"},
        {"Laser", "Other", 0, "Laser"},
        {x90, "#123456", 0, x90 + " 1234"},
        {"#123456", x90, 0, x90 + " 1234"},
        {x90, "#123\xc3\xbc", 0, x90 + " 123"},
    };
    for (const auto &c : cases) {
        parent p(c.before);
        p.run.settings.scanner = c.scanner != 0;
        p.read(NODEQ_SLOT, "ip: a vendor:  dsc: \"" + c.text + "\"\n");
        EXPECT_EQ(p.known->dsc, c.after) << c.before << "|" << c.text;
    }
}

TEST(MergeDescription, TakesATextWhereNoneIsRealAndMarksTheUnreachable)
{
    const std::string x93(93, 'x');
    const std::string wide60 = repeated("\xc3\xbc", 60);
    const struct {
        std::string before;
        std::string line;
        std::string after;
        bool marked;
    } cases[] = {
        {"", "ip: a               dsc: \"Office Laser 500\"\n", "Office Laser 500", false},
        {"#[N] i", "ip: a dsc: \"Laser\"\n", "Laser#[N] i", false},
        {"Laser", "ip: a dsc: \"Other\"\n", "Laser", false},
        {"", "ip: a dsc: \"\"\n", "", false},
        {"", "ip: a dsc: \"Torn off\n", "Torn off", false},
        {"", "ip: a dsc: \"\n", "", false},
        {"", "ip: a vendor: x\n", "", false},
        {"", "dsc: \"x\" ip: a\n", "", false},
        {"#123", "ip: a dsc: \"" + x93 + "\"\n", x93 + "#1", false},
        {"#12", "ip: a dsc: \"" + wide60 + "\"\n", wide60.substr(26) + "#", false},
        {"", "ip: a         dsc: \" \" ERROR: Destination unreachable\n", "", true},
        {"", "ip: a dsc: \"x ERROR: y\"\n", "", true},
        {"", "ip: a dsc: \"ERROR: at the start\"\n", "ERROR: at the start", false},
        {"", "ip: a dsc: \"x\" ERROR", "x", false},
    };
    for (const auto &c : cases) {
        parent p(c.before);
        p.read(DESC_SLOT, c.line);
        EXPECT_EQ(p.known->dsc, c.after) << c.line;
        EXPECT_EQ(p.known->scan_info[0] == UNREACHABLE_MARK, c.marked) << c.line;
        EXPECT_EQ(p.run.devices->next, nullptr) << c.line;
    }
    EXPECT_EQ(printed_by([] { print_description_line("10.0.0.5\r", "b\n"); }),
              "ip: 10.0.0.5        dsc: \"b \"\n");
    EXPECT_EQ(printed_by([&] { print_description_line("a", (x93 + "\xfc\xfc\xfc").c_str()); }),
              "ip: a               dsc: \"" + x93 + "\xc3\xbc\xc3\xbc\"\n");
}

TEST(DeviceList, FindsExactTextsAloneAndNoneThatItCuts)
{
    const std::string x39(39, 'x');
    test_list devices;
    address_index index = {};
    const auto add = [&](const std::string &ip) {
        return device_list_find_or_add(&devices.head, ip.c_str(), &index);
    };
    const device_record *cut = add(x39 + "x");
    for (const std::string &ip : {std::string("fe80::A"), std::string("fe80::a"), x39 + "x"})
        add(ip);
    EXPECT_EQ(add(x39), cut) << "the first of the same key";
    std::string expected = x39 + " fe80::A fe80::a " + x39;
    for (int i = 0; i < 3000; ++i) // some share a bucket
        expected += " " + std::string(add(std::to_string(i))->ip);
    for (int i = 0; i < 3000; ++i)
        add(std::to_string(i));
    EXPECT_EQ(joined(devices.head, ip_of), expected);
}
