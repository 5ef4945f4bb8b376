// Writes the seeds of the fuzz target of SLP replies into the folder given.
#include "slp_encoder.h"

#include <cstdio>
#include <fstream>

namespace
{

std::vector<std::string> message_seeds()
{
    const std::string auth = wire_auth("signer", "signature");
    const std::string first = wire_url("service:printer:lpr://10.0.0.1:515/queue");
    const std::string whole =
        wire_reply({first, wire_url("service:printer:raw-tcp://10.0.0.2:9100")});
    return {
        whole,
        wire_reply({first, first}, WIRE_OVERFLOW),
        wire_message(WIRE_REPLY, 0, wire_number(4, 2)),
        wire_reply({wire_url("a", "\2" + auth + auth), first}),
        wire_reply({first, wire_url("a", "\xff" + auth)}),
        wire_reply({first, wire_url("a", "\1" + wire_with(auth, BLOCK_FIELD, 9))}),
        wire_reply({first, wire_url("a", "\1" + wire_with(auth, SIGNER_FIELD, 999))}),
        wire_reply({first, wire_with(first, URL_FIELD, 65535)}),
        wire_with(whole, COUNT_FIELD, 65535),
        wire_with(whole, LENGTH_FIELD, 0xFFFFFF),
        wire_advert("service:directory-agent://10.0.0.9", "default,lab"),
        wire_advert("service:directory-agent://10.0.0.9", "default", 0, 3),
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
