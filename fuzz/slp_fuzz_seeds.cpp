// Writes the seeds of the SLP fuzz targets below the folder given.
#include "slp_encoder.h"

#include <cstdio>
#include <fstream>

namespace
{

int write_seeds(const std::string &folder, const std::vector<std::string> &seeds)
{
    for (size_t i = 0; i < seeds.size(); ++i) {
        std::ofstream file(folder + "/seed" + std::to_string(i), std::ios::binary);
        file << seeds[i];
        if (!file.flush()) {
            fprintf(stderr, "%s: a seed cannot be written\n", folder.c_str());
            return 1;
        }
    }
    return 0;
}

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

std::vector<std::string> properties_seeds()
{
    return {
        "# a comment\n; another\nnet.slp.useScopes = default, lab\r\nnet.slp.MTU = 1400\n",
        "net.slp.DAAddresses = 10.0.0.9,da.example\nnet.slp.activeDADetection = false\n",
        "net.slp.DADiscoveryMaximumWait = 2000\nnet.slp.multicastMaximumWait = 5000\n",
        "net.slp.DADiscoveryTimeouts = 500,750\nnet.slp.multicastTimeouts = 500,750,1000\n",
        "net.slp.multicastTTL = 8\nnet.slp.interfaces = 10.0.0.1\nnet.slp.maxResults = -1\n",
        "net.slp.isBroadcastOnly = true",
    };
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const std::string folder = argv[1];
    return write_seeds(folder + "/slp_reply_fuzz", message_seeds()) |
           write_seeds(folder + "/slp_properties_fuzz", properties_seeds());
}
