// Host names to addresses, one family at a time.
#include "io/resolve.h"

#include <arpa/inet.h>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <sys/socket.h>

namespace
{

struct addrinfo_deleter {
    void operator()(struct addrinfo *results) const
    {
        freeaddrinfo(results);
    }
};

using address_results = std::unique_ptr<struct addrinfo, addrinfo_deleter>;

address_results resolve(const char *host, int family)
{
    struct addrinfo hints = {};
    hints.ai_family = family;
    hints.ai_socktype = SOCK_STREAM;
    struct addrinfo *results = nullptr;
    if (getaddrinfo(host, nullptr, &hints, &results) != 0)
        return nullptr;
    return address_results(results);
}

} // namespace

int resolve_ipv4(const char *host, struct in_addr *address)
{
    const address_results results = resolve(host, AF_INET);
    if (!results)
        return -1;
    struct sockaddr_in found = {};
    memcpy(&found, results->ai_addr, sizeof found);
    *address = found.sin_addr;
    return 0;
}

int resolve_ipv6(const char *host, struct in6_addr *address)
{
    // No host name holds a ":": such a text is an address or nothing, and no name server is asked.
    if (strchr(host, ':') != nullptr)
        return inet_pton(AF_INET6, host, address) > 0 ? 0 : -1;
    const address_results results = resolve(host, AF_INET6);
    if (!results)
        return -1;
    struct sockaddr_in6 found = {};
    memcpy(&found, results->ai_addr, sizeof found);
    *address = found.sin6_addr;
    return 0;
}
