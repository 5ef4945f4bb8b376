// The addresses of a fleet, as lines for `ip -batch`.
#include "simulator/addresses.h"

#include <cstdio>

void addresses_print(const fleet &devices, const char *interface)
{
    for (const device &one : devices.devices) {
        if (one.unreachable)
            continue;
        if (one.has_ipv4)
            printf("address add %s/16 dev %s noprefixroute\n", ipv4_text(one.ipv4).c_str(),
                   interface);
        for (const in6_addr &address : one.ipv6) {
            if (one.has_ipv6)
                printf("address add %s/64 dev %s nodad noprefixroute\n", ipv6_text(address).c_str(),
                       interface);
        }
    }
}
