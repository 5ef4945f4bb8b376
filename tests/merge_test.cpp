// How the parent merges its children's lines.
#include "capture.h"
#include "device_line.h"
#include "driver/lines.h"
#include "driver/merge.h"
#include "driver/slots.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

constexpr int SNMP_SLOT = 0;
constexpr int NODEQ_SLOT = 3;
constexpr int DESC_SLOT = 5;

/// A parent's lists and slots, without children.
struct parent {
    device_list devices = nullptr;
    desc_queue queue = nullptr;
    std::vector<child_slot> slots = std::vector<child_slot>(CHILD_SLOT_COUNT);
    merge_target target = {&devices, &queue, slots.data(), 0, 0};

    parent() = default;
    parent(const parent &) = delete;
    parent &operator=(const parent &) = delete;
    ~parent()
    {
        list_free(&devices);
        list_free(&queue);
    }

    void read(int slot, std::string line)
    {
        merge_line(&target, line.data(), slot);
    }

    device_record *find(const char *ip)
    {
        return device_list_find_or_add(&devices, ip);
    }

    /// The first record, as its device line prints it.
    std::string first() const
    {
        const auto *record = static_cast<const device_record *>(devices->data);
        return printed_by([&] { print_device_line(record); });
    }

    size_t queued() const
    {
        size_t count = 0;
        for (const list_node *node = queue; node != nullptr; node = node->next)
            ++count;
        return count;
    }
};

std::string snmp_line(const std::string &snmp, const std::string &vendor, const std::string &dsc)
{
    return line_of("10.0.0.5",
                   "slp: 0,0,0,0 snmp: " + snmp + " vendor: " + vendor + " dsc: \"" + dsc + "\"");
}

std::string desc_line(const std::string &dsc)
{
    return line_of("10.0.0.5", "dsc: \"" + dsc + "\"");
}

} // namespace

TEST(MergeLine, ReadsDeviceLinesFromTheFirstFourSlotsAlone)
{
    for (int slot = 0; slot < CHILD_SLOT_COUNT; ++slot) {
        parent p;
        p.read(slot, snmp_line("1,1,0", "Taliven", "Laser"));
        EXPECT_STREQ(p.find("10.0.0.5")->vendor, slot < 4 ? "Taliven" : "") << slot;
    }
}

TEST(MergeLine, TakesOverEveryFieldThatIsPrinted)
{
    device_record record;
    memset(&record, 1, sizeof record); // a further number is not zero either
    memcpy(record.ip, "10.0.0.5", sizeof "10.0.0.5");
    memcpy(record.dsc, "QD-77", sizeof "QD-77");
    memcpy(record.vendor, "Taliven", sizeof "Taliven");
    parent p;
    const std::string line = printed_by([&] { print_device_line(&record); });
    p.read(SNMP_SLOT, line);
    EXPECT_EQ(p.first(), line);
}

TEST(MergeDiscovery, QueuesOnlyWhatAnSnmpChildReportsWithoutARealDescription)
{
    const struct {
        int slot;
        const char *before;
        size_t queued;
    } cases[] = {
        {0, "", 1}, {1, "", 1}, {1, "#[NAME]", 1}, {0, "Office Laser", 0}, {2, "", 0}, {3, "", 0},
    };
    for (const auto &c : cases) {
        parent p;
        strncpy(p.find("10.0.0.5")->dsc, c.before, DSC_SIZE - 1);
        p.read(c.slot, snmp_line("0,0,0", "", "Model"));
        p.read(c.slot, snmp_line("0,0,0", "", "Model"));
        EXPECT_EQ(p.queued(), c.queued) << c.slot << c.before;
    }
}

TEST(MergeDiscovery, PutsRealBeforeProvisionalDescriptions)
{
    const std::string nineties(90, 'x');
    const struct {
        std::string before;
        std::string text;
        int scanner;
        std::string after;
    } cases[] = {
        {"", "Laser", 0, "Laser"},
        {"", "#[N] i", 0, "#[N] i"},
        {"", "#[N] i", 1, ""},
        {"", "Laser", 1, "Laser"},
        {"Laser", "#[N] i", 0, "Laser [N] i"},
        {"Laser", "#[N] i", 1, "Laser"},
        {"#[N] i", "#[M] j", 0, "#[N] i [M] j"},
        {"#[N] i", "Laser", 0, "Laser [N] i"},
        {"#[N] i", "Laser", 1, "Laser [N] i"},
        {"Laser", "Other", 0, "Laser"},
        {nineties, "#123456", 0, nineties + " 1234"},
        {"#123456", nineties, 0, nineties + " 1234"},
        {"#[N] i", "", 0, "#[N] i"},
    };
    for (const auto &c : cases) {
        parent p;
        p.target.scanner = c.scanner;
        strncpy(p.find("10.0.0.5")->dsc, c.before.c_str(), DSC_SIZE - 1);
        p.read(NODEQ_SLOT, snmp_line("0,0,0", "", c.text));
        EXPECT_EQ(p.find("10.0.0.5")->dsc, c.after) << c.before << "|" << c.text;
    }
}

TEST(MergeDiscovery, ReadsNumbersAllOrNone)
{
    const struct {
        const char *line;
        const char *numbers;
    } cases[] = {
        {"ip: a snmp: 300,1,2 vendor: ", "44,1,2"}, {"ip: a snmp:  7, 8,-1 vendor: ", "7,8,255"},
        {"ip: a snmp: 1,2 vendor: ", "9,9,9"},      {"ip: a snmp: 1,2,x vendor: ", "9,9,9"},
        {"ip: a snmp: 1 ,2,3 vendor: ", "9,9,9"},   {"ip: a snmp:  vendor: ", "9,9,9"},
        {"ip: a vendor: snmp: 1,2,3 ", "9,9,9"},    {"ip: a snmp: 1,2,3", "9,9,9"},
    };
    for (const auto &c : cases) {
        parent p;
        device_record *record = p.find("a");
        record->snmp_detected = record->snmp_devtype = record->snmp_description = 9;
        p.read(NODEQ_SLOT, c.line);
        EXPECT_NE(p.first().find(std::string("snmp: ") + c.numbers + " "), std::string::npos)
            << c.line << p.first();
    }
    parent p;
    p.read(NODEQ_SLOT, "ip: a snmp: " + std::string(250, ' ') + "1,2,3 vendor: ");
    EXPECT_EQ(p.find("a")->snmp_detected, 0) << "255 characters are no numbers";
}

TEST(MergeDiscovery, SetsSlpFlagsAndClearsNone)
{
    parent p;
    p.read(2, "ip: a slp: 1,0,0,2 snmp: 0,0,0 vendor:  dsc: \"\"\n");
    p.read(0, "ip: a slp: 0,0,0,0 snmp: 1,1,0 vendor:  dsc: \"\"\n");
    p.read(2, "ip: a slp: 1,1,1 snmp: 1,1,0 vendor:  dsc: \"\"\n");
    EXPECT_NE(p.first().find("slp: 1,0,0,1 snmp: 1,1,0"), std::string::npos) << p.first();
}

TEST(MergeDiscovery, ReadsTheVendorWord)
{
    const struct {
        const char *line;
        const char *vendor;
    } cases[] = {
        {"ip: a vendor: Taliven dsc: \"x\"\n", "Taliven"},
        {"ip: a vendor: Two Words dsc: \"x\"\n", "Two"},
        {"ip: a vendor:  dsc: \"x\"\n", "old"},
        {"ip: a dsc: \"x\"\n", "UNKNOWN"},
        {"ip: a vendor: Taliven \n", "old"},
        {"ip: a dsc: \"x\" vendor: Late \n", "UNKNOWN"},
        {"ip: a dsc: \"x vendor: Open \n", "Open"},
        {"ip: a dsc: \"\" vendor: Late \n", "UNKNOWN"},
        {"ip: a vendor: Torn dsc:", "Torn"},
        {"ip: a dsc: vendor: Cut", "old"},
        {"ip: a vendor: 0123456789012345678901234567890123 dsc: \"x\"\n",
         "0123456789012345678901234567890"},
    };
    for (const auto &c : cases) {
        parent p;
        strncpy(p.find("a")->vendor, "old", VENDOR_SIZE - 1);
        p.read(SNMP_SLOT, c.line);
        EXPECT_STREQ(p.find("a")->vendor, c.vendor) << c.line;
    }
}

TEST(MergeDiscovery, FindsTheAddressOrIgnoresTheLine)
{
    const struct {
        const char *line;
        const char *key; ///< nullptr: no record
    } cases[] = {
        {"# Total 0 printers found, ip: none\n", nullptr},
        {"WARNING: configuration file not found\n", nullptr},
        {"", nullptr},
        {"ip:", ""},
        {"ip: ", ""},
        {"ip:\n", ""},
        {"ip: fe80::1\tx", "fe80::1"},
        {"noise ip: 10.0.0.7 ip: 10.0.0.8 ", "10.0.0.7"},
        {"ip: 10.0.0.7\n", "10.0.0.7\n"},
        {"ip: 0123456789012345678901234567890123456789x ",
         "012345678901234567890123456789012345678"},
    };
    for (const auto &c : cases) {
        parent p;
        p.read(SNMP_SLOT, c.line);
        ASSERT_EQ(p.devices == nullptr, c.key == nullptr) << c.line;
        if (c.key != nullptr) {
            EXPECT_STREQ(static_cast<device_record *>(p.devices->data)->ip, c.key);
        }
    }
}

TEST(MergeDescription, TakesATextOnlyForARecordWithoutARealOne)
{
    const std::string ninety_three(93, 'x');
    const struct {
        std::string before;
        std::string line;
        std::string after;
    } cases[] = {
        {"", desc_line("Office Laser 500"), "Office Laser 500"},
        {"#[N] i", desc_line("Office Laser"), "Office Laser#[N] i"},
        {"Laser", desc_line("Other"), "Laser"},
        {"", desc_line(""), ""},
        {"", "ip: 10.0.0.5 dsc: \"Torn off", "Torn off"},
        {"", "ip: 10.0.0.5 dsc: \"Torn off\n", "Torn off"},
        {"", "ip: 10.0.0.5 dsc: \"\n", ""},
        {"", "ip: 10.0.0.5 vendor: x\n", ""},
        {"", "dsc: \"x\" ip: 10.0.0.5\n", ""},
        {"#123", desc_line(ninety_three), ninety_three + "#1"},
    };
    for (const auto &c : cases) {
        parent p;
        strncpy(p.find("10.0.0.5")->dsc, c.before.c_str(), DSC_SIZE - 1);
        p.read(DESC_SLOT, c.line);
        EXPECT_EQ(p.find("10.0.0.5")->dsc, c.after) << c.line;
        EXPECT_EQ(p.devices->next, nullptr) << c.line;
    }
}

TEST(MergeDescription, MarksUnreachableDevices)
{
    const struct {
        const char *line;
        bool marked;
    } cases[] = {
        {"ip: 10.0.0.5         dsc: \" \" ERROR: Destination unreachable\n", true},
        {"ip: 10.0.0.5 dsc: \"x ERROR: y\"\n", true},
        {"ip: 10.0.0.5 dsc: \"ERROR: at the start\"\n", false},
        {"ip: 10.0.0.5 dsc: \"x\" ERROR", false},
    };
    for (const auto &c : cases) {
        parent p;
        p.find("10.0.0.5");
        p.read(DESC_SLOT, c.line);
        EXPECT_EQ(p.find("10.0.0.5")->scan_info[0] == UNREACHABLE_MARK, c.marked) << c.line;
        EXPECT_EQ(p.find("10.0.0.5")->dsc[0] == '\0', c.marked) << c.line;
    }
}

TEST(HexToBytes, DecodesPairs)
{
    const struct {
        const char *text;
        size_t maximum;
        std::string bytes;
    } cases[] = {
        {"4142 43\n44", 16, "ABC"},
        {"4aFf", 16, "J\xff"},
        {"4 142", 16, "\x14"},
        {"4x 41", 16, "A"},
        {"414", 16, "A"},
        {"414243", 2, "AB"},
        {"", 16, ""},
        {"\n41", 16, ""},
        {"41", 0, ""},
    };
    for (const auto &c : cases) {
        uint8_t bytes[16];
        const size_t count = hex_to_bytes(bytes, c.maximum, c.text);
        EXPECT_EQ(std::string(bytes, bytes + count), c.bytes) << c.text;
    }
}
