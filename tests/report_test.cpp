// What is printed: device lines, report, hex blocks and time marks.
#include "capture.h"
#include "driver/lines.h"
#include "driver/report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{

struct three_devices {
    device_list list = nullptr;

    three_devices()
    {
        device_record *printer = device_list_find_or_add(&list, "10.0.0.5");
        printer->slp_detected = printer->slp_raw_tcp = 1;
        printer->snmp_detected = 255;
        memcpy(printer->dsc, "Laser", sizeof "Laser");
        device_record *scanner = device_list_find_or_add(&list, "2001:db8:9::1:2:3");
        scanner->scan_info[0] = SCAN_BLOCK_TAG;
        memcpy(scanner->vendor, "Taliven", sizeof "Taliven");
        device_list_find_or_add(&list, "10.0.0.9")->scan_info[0] = UNREACHABLE_MARK;
    }
    three_devices(const three_devices &) = delete;
    three_devices &operator=(const three_devices &) = delete;
    ~three_devices()
    {
        list_free(&list);
    }
};

constexpr char HEADER[] = "# Network printers discovery utility\n# Legend: ip: address slp: "
                          "detected,ipp,lpr,raw_tcp snmp: detected,devtype,description\n";

} // namespace

TEST(Report, ListsPrintersInOrderWithoutTheUnreachable)
{
    const three_devices devices;
    EXPECT_EQ(printed_by([&] { print_report(devices.list, time(nullptr) + 5, 0); }),
              std::string(HEADER) +
                  "ip: 10.0.0.5        slp: 1,0,0,1 snmp: 255,0,0 vendor:  dsc: \"Laser\"\n"
                  "ip: 2001:db8:9::1:2:3 slp: 0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: \"\"\n"
                  "# Total 2 printers found, -5s elapsed\n");
}

TEST(Report, LetsNoDeviceForgeALine)
{
    device_record record = {};
    memcpy(record.ip, "10.0.0.5", sizeof "10.0.0.5");
    memcpy(record.vendor, "A\x1b[2J", sizeof "A\x1b[2J");
    memcpy(record.dsc, "a\nip: 1\xc2\x85\xff", sizeof "a\nip: 1\xc2\x85\xff");
    EXPECT_EQ(
        printed_by([&] { print_device_line(&record); }),
        "ip: 10.0.0.5        slp: 0,0,0,0 snmp: 0,0,0 vendor: A [2J dsc: \"a ip: 1  \xff\"\n");
    EXPECT_EQ(record.dsc[1], '\n') << "the record keeps what was received";
    EXPECT_EQ(printed_by([&] { print_description_line("10.0.0.5\r", "a\xe2\x80\xae"); }),
              "ip: 10.0.0.5        dsc: \"a   \"\n");
    EXPECT_EQ(printed_by([&] { print_unreachable_line("fe80::1\n"); }),
              "ip: fe80::1          dsc: \" \" ERROR: Destination unreachable\n");
}

TEST(TimeMark, CountsFromThePreviousMark)
{
    time_t previous = time(nullptr) - 2;
    const std::string printed =
        printed_by([&] { time_mark("after discover_using_slp", &previous); });
    EXPECT_THAT(printed, testing::MatchesRegex("# MARK: after discover_using_slp: [23]\\.00\n"));
    EXPECT_GE(previous, time(nullptr) - 1);
}
