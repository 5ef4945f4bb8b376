// Description queries that end with their first answer, in the lab network.
#include "device_line.h"
#include "program.h"

#include <gtest/gtest.h>

TEST(LabQuick, EndsARequestWithTheFirstAnswerThatBringsItsObject)
{
    const lab_setup lab = {
        "device 10.9.1.1 id=\"MFG:Acme;MDL:early;\" snmp.delay=1 snmp.then=\"MFG:Acme;MDL:late;\"\n"
        "device 10.9.1.2 id=\"MFG:Acme;MDL:slow;\" snmp.delay=150\n"
        "device 10.9.1.3\n"
        "device 10.9.1.4 id=\"\" snmp.then=\"MFG:Acme;MDL:second;\"\n"
        "device 10.9.1.5 id=\"\" model=\"QD-X7\" mib=\"Taliven Electronics\"\n"
        "device 10.9.1.6 model=\"PNE-X1\"\n",
        {}};
    const struct {
        std::string option;
        std::string first; ///< what the device that answers twice is taken for
    } cases[] = {{"--quick", "early"}, {"-d0", "late"}};
    for (const auto &c : cases) {
        const lab_result result =
            run_in_lab(lab, {"/bin/bash", "-c",
                             "for i in 1 2 3 4 5 6; do \"$0\" " + c.option + " -R 10.9.1.$i; done",
                             DEVSCOUT_PROGRAM});
        SKIP_NO_LAB(result);
        EXPECT_EQ(lines_with(result.program.out, "ip: "),
                  line_of("10.9.1.1", "dsc: \"Acme " + c.first + "\"") +
                      line_of("10.9.1.2", "dsc: \"Acme slow\"") +
                      line_of("10.9.1.4", "dsc: \"Acme second\"") +
                      line_of("10.9.1.5", "dsc: \"Taliven QD-X7\"") +
                      line_of("10.9.1.6", "dsc: \"Taliven PNE-X1\""));
        // One request, one, two, one, three, three.
        EXPECT_EQ(line_count(requests(result.record, "snmp"), "10.9.1."), 11U) << c.option;
    }
}
