// Datagrams that go out now or later.
#include "simulator/send_queue.h"

#include <map>
#include <utility>

#include "io/wait.h"

struct waiting_datagram {
    const udp_socket *by;
    sockaddr_storage from;
    sockaddr_storage to;
    std::string bytes;
};

// By the monotonic time at which they are due; those due together go out as they were added.
static std::multimap<int64_t, waiting_datagram> waiting;

void send_queue_add(const udp_socket &by, const sockaddr_storage &from, const sockaddr_storage &to,
                    std::string bytes, int64_t delay_us)
{
    if (delay_us <= 0)
        udp_send(by, from, to, bytes);
    else
        waiting.emplace(monotonic_us() + delay_us,
                        waiting_datagram{&by, from, to, std::move(bytes)});
}

void send_queue_run()
{
    const int64_t now = monotonic_us();
    while (!waiting.empty() && waiting.begin()->first <= now) {
        const waiting_datagram &next = waiting.begin()->second;
        udp_send(*next.by, next.from, next.to, next.bytes);
        waiting.erase(waiting.begin());
    }
}

int64_t send_queue_wait_us()
{
    if (waiting.empty())
        return -1;
    const int64_t left = waiting.begin()->first - monotonic_us();
    return left > 0 ? left : 0;
}
