// The record of requests: one line for each request that a device received.
#include "simulator/record.h"

#include <arpa/inet.h>
#include <ctime>
#include <string>

#include "io/stream.h"
#include "simulator/text.h"

static file_stream record_file;

static std::string endpoint_text(const sockaddr_storage &endpoint)
{
    char address[INET6_ADDRSTRLEN] = "";
    if (endpoint.ss_family == AF_INET6) {
        const auto &in6 = reinterpret_cast<const sockaddr_in6 &>(endpoint);
        inet_ntop(AF_INET6, &in6.sin6_addr, address, sizeof address);
        return "[" + std::string(address) + "]:" + std::to_string(ntohs(in6.sin6_port));
    }
    const auto &in = reinterpret_cast<const sockaddr_in &>(endpoint);
    inet_ntop(AF_INET, &in.sin_addr, address, sizeof address);
    return std::string(address) + ":" + std::to_string(ntohs(in.sin_port));
}

int record_open(const char *path)
{
    record_file.reset(fopen(path, "we"));
    return record_file ? 0 : -1;
}

void record_request(const char *protocol, const sockaddr_storage &source,
                    const sockaddr_storage &destination, std::string_view bytes)
{
    if (!record_file)
        return;
    struct timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    fprintf(record_file.get(), "%lld.%06ld %s %s > %s %zu %s\n", static_cast<long long>(now.tv_sec),
            now.tv_nsec / 1000, protocol, endpoint_text(source).c_str(),
            endpoint_text(destination).c_str(), bytes.size(),
            bytes.empty() ? "-" : text_to_hex(bytes).c_str());
    fflush(record_file.get());
}
