// The SLP method of the built program in the lab network, whichever library it is built with.
#include "lab_slp.h"
#include "program.h"

#include <gtest/gtest.h>

TEST(LabSlp, ListsAnnouncedPrintersWithTheirProtocols)
{
    const lab_setup lab = {
        "device 10.9.1.1 slp.url=\"service:printer:lpr://%a:515/queue\"\n"
        "device 10.9.1.2 slp.url=\"service:printer:ipp://%a/ipp\"\n"
        "device 10.9.1.3 slp.url=\"service:printer:raw-tcp://%a:9100\" "
        "slp.url=\"service:printer:ipp://%a:631/ipp\" slp.repeat=2\n"
        "device 10.9.1.4 slp.url=\"service:printer:socket://%a:9100\"\n"
        "device 10.9.1.5 slp.url=\"service:scanner:ipp://%a\" slp.url=\"service:printer:lpr:%a\"\n"
        "device 10.9.1.6 slp.url=\"service:printer:ipps://a-host-of-many-characters/\"\n"
        "device 10.9.1.7 slp.url=\"service:printer:lpr://%a\" slp.scopes=other\n",
        {}};
    const lab_result result = devscout_in_lab(lab, {"-s", "--slp"});
    EXPECT_EQ(sorted_devices(result.program.out),
              announced("10.9.1.1", "1,0,1,0") + announced("10.9.1.2", "1,1,0,0") +
                  announced("10.9.1.3", "1,1,0,1") + announced("10.9.1.4", "0,0,0,0") +
                  announced("a-host-of-many-", "1,1,0,0"));
    EXPECT_EQ(result.program.err, "");
}
