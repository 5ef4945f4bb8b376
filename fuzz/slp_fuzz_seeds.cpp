// Writes the seeds of the fuzz target of SLP replies into the folder given.
#include "slp_encoder.h"

#include <cstdio>
#include <fstream>

namespace
{

std::vector<std::string> message_seeds()
{
    const std::string auth = wire_auth("signer", "signature");
    const std::string url = "service:printer:lpr://10.0.0.1:515/queue";
    const std::string first = wire_url(url);
    wire_header too_long;
    too_long.length = 0xFFFFFF;
    return {
        wire_reply({}, WIRE_XID),
        wire_reply({url, url, "service:printer:raw-tcp://10.0.0.2:9100"}, WIRE_XID),
        wire_reply({url}, WIRE_XID, WIRE_OVERFLOW),
        wire_error(4, WIRE_XID),
        wire_message({}, wire_entries({wire_url(url, {auth, auth}), first})),
        wire_message({}, wire_entries({first, wire_url(url, {auth}, 255)})),
        wire_message({}, wire_entries({first, wire_url(url, {wire_auth("s", "t", 9)})})),
        wire_message({}, wire_entries({first, wire_url(url, {wire_auth("s", "t", -1, 999)})})),
        wire_message({}, wire_entries({first, wire_url(url, {}, -1, 65535)})),
        wire_message({}, wire_entries({first, first}, 65535)),
        wire_message(too_long, wire_entries({first})),
        wire_advert("service:directory-agent://10.0.0.9", "default,lab", WIRE_XID),
        wire_advert("service:directory-agent://10.0.0.9", "default", WIRE_XID, 0, 3),
    };
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    int number = 0;
    for (const std::string &seed : message_seeds()) {
        std::ofstream file(std::string(argv[1]) + "/seed" + std::to_string(number++));
        file << seed;
        if (!file.flush()) {
            fprintf(stderr, "%s: a seed cannot be written\n", argv[1]);
            return 1;
        }
    }
    return 0;
}
