// What is printed of devices.
#include "capture.h"
#include "driver/lines.h"
#include "driver/report.h"
#include "records.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(Report, ListsDevicesInOrderWithoutTheUnreachableAndLetsNoneForgeALine)
{
    test_list devices;
    device_record *printer = devices.device("10.0.0.5\n");
    printer->slp_detected = printer->slp_raw_tcp = 1;
    printer->snmp_detected = 255;
    memcpy(printer->dsc, "a\nip: 1\xc2\x85\xff", sizeof "a\nip: 1\xc2\x85\xff");
    device_record *scanner = devices.device("2001:db8:9::1:2:3");
    scanner->scan_info[0] = SCAN_BLOCK_TAG;
    memcpy(scanner->vendor, "A\x1b[2J", sizeof "A\x1b[2J");
    devices.device("10.0.0.9")->scan_info[0] = UNREACHABLE_MARK;
    EXPECT_EQ(printed_by([&] { print_report(devices.head, time(nullptr) + 5, 0); }),
              "# Network printers discovery utility\n# Legend: ip: address slp: "
              "detected,ipp,lpr,raw_tcp snmp: detected,devtype,description\n"
              "ip: 10.0.0.5        slp: 1,0,0,1 snmp: 255,0,0 vendor:  dsc: \"a ip: 1  \xff\"\n"
              "ip: 2001:db8:9::1:2:3 slp: 0,0,0,0 snmp: 0,0,0 vendor: A [2J dsc: \"\"\n"
              "# Total 2 printers found, -5s elapsed\n");
    EXPECT_EQ(printer->dsc[1], '\n') << "the record keeps what was received";
    EXPECT_EQ(printed_by([&] { print_description_line("10.0.0.5\r", "a\xe2\x80\xae"); }),
              "ip: 10.0.0.5        dsc: \"a   \"\n");
    EXPECT_EQ(printed_by([&] { print_unreachable_line("fe80::1\n"); }),
              "ip: fe80::1          dsc: \" \" ERROR: Destination unreachable\n");
}
