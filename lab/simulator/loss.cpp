// Loss: the share of the datagrams that never arrive, drawn from a seed.
#include "simulator/loss.h"

#include <map>
#include <netinet/in.h>
#include <string>

static int loss_percent;
static uint64_t loss_seed;
static std::map<std::string, uint64_t> drawn; // how many numbers each sequence has given

// The steps of FNV-1a and of the end of SplitMix64.
static uint64_t hash_of(const std::string &text, uint64_t number)
{
    uint64_t hash = 0xCBF29CE484222325;
    for (const char byte : text)
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
    hash += number * 0x9E3779B97F4A7C15;
    hash = (hash ^ hash >> 30) * 0xBF58476D1CE4E5B9;
    hash = (hash ^ hash >> 27) * 0x94D049BB133111EB;
    return hash ^ hash >> 31;
}

void loss_set(int percent, uint64_t seed)
{
    loss_percent = percent;
    loss_seed = seed;
}

bool loss_takes_next(loss_direction direction, const sockaddr_storage &device, uint16_t port)
{
    if (loss_percent == 0)
        return false;
    std::string sequence = std::to_string(loss_seed) + "," + std::to_string(direction) + "," +
                           std::to_string(port) + ",";
    if (device.ss_family == AF_INET6) {
        const in6_addr &address = reinterpret_cast<const sockaddr_in6 &>(device).sin6_addr;
        sequence.append(reinterpret_cast<const char *>(&address), sizeof address);
    } else {
        const in_addr &address = reinterpret_cast<const sockaddr_in &>(device).sin_addr;
        sequence.append(reinterpret_cast<const char *>(&address), sizeof address);
    }
    return hash_of(sequence, ++drawn[sequence]) % 100 < static_cast<uint64_t>(loss_percent);
}
