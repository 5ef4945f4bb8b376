// Host names to addresses.
#include "io/resolve.h"

#include <arpa/inet.h>
#include <cstring>
#include <netdb.h>
#include <sys/socket.h>

int resolve_ipv4(const char *host, struct in_addr *address)
{
    // Not getaddrinfo, which would sort the addresses by its own rules.
    const struct hostent *found = gethostbyname2(host, AF_INET);
    if (found == nullptr || found->h_addr_list[0] == nullptr)
        return -1;
    memcpy(address, found->h_addr_list[0], sizeof *address);
    return 0;
}

int find_ipv4(const char *host, struct in_addr *address)
{
    return inet_aton(host, address) != 0 ? 0 : resolve_ipv4(host, address);
}

int read_ipv6(const char *text, struct sockaddr_in6 *address)
{
    struct addrinfo wanted = {};
    wanted.ai_family = AF_INET6;
    wanted.ai_flags = AI_NUMERICHOST;
    wanted.ai_socktype = SOCK_DGRAM;
    struct addrinfo *found = nullptr;
    if (getaddrinfo(text, nullptr, &wanted, &found) != 0)
        return -1;
    memcpy(address, found->ai_addr, sizeof *address);
    freeaddrinfo(found);
    return 0;
}
