// The device simulator: one process that answers for a whole fleet of devices.
//
// simulator --addresses FLEET [--network N]
// simulator --fleet FLEET --interface NAME [--network N] [--loss PERCENT] [--seed N]
//           [--record FILE] [--ready-fd N]
// simulator --tunnel NAME [--record FILE] [--ready-fd N]
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <net/if.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "io/wait.h"
#include "simulator/addresses.h"
#include "simulator/fleet.h"
#include "simulator/inquiry.h"
#include "simulator/loss.h"
#include "simulator/nodeq.h"
#include "simulator/record.h"
#include "simulator/send_queue.h"
#include "simulator/slp.h"
#include "simulator/snmp.h"
#include "simulator/tcp.h"
#include "simulator/text.h"
#include "simulator/tunnel.h"
#include "simulator/udp.h"

constexpr long LARGEST_NETWORK = 99;
constexpr int EXIT_BAD_START = 3; // after a line on standard error; lab/inside.bash knows it

struct arguments {
    const char *addresses = nullptr;
    const char *fleet = nullptr;
    const char *interface = "eth0";
    const char *tunnel = nullptr;
    const char *record = nullptr;
    int network = 9;
    long loss = 0; // percent
    long seed = 1;
    int ready_fd = -1;
};

// A protocol: where its requests arrive, and who answers them.
struct udp_service {
    const char *word; // in the record
    int family;
    uint16_t port;
    void (*answer)(const fleet &, const udp_socket &, const datagram &);
    udp_socket socket;
};

static udp_service services[] = {
    {"nodeq", AF_INET, NODEQ_PORT, nodeq_answer_request, {}},
    {"snmp", AF_INET, SNMP_PORT, snmp_answer_request, {}},
    {"snmp", AF_INET6, SNMP_PORT, snmp_answer_request, {}},
    {"slp", AF_INET, SLP_PORT, slp_answer_request, {}},
};

static int read_arguments(int argc, char **argv, arguments &read)
{
    for (int i = 1; i < argc; i += 2) {
        const char *value = i + 1 < argc ? argv[i + 1] : nullptr;
        if (value == nullptr)
            return -1;
        if (strcmp(argv[i], "--addresses") == 0)
            read.addresses = value;
        else if (strcmp(argv[i], "--fleet") == 0)
            read.fleet = value;
        else if (strcmp(argv[i], "--interface") == 0)
            read.interface = value;
        else if (strcmp(argv[i], "--tunnel") == 0)
            read.tunnel = value;
        else if (strcmp(argv[i], "--network") == 0)
            read.network = static_cast<int>(text_to_number(value, LARGEST_NETWORK));
        else if (strcmp(argv[i], "--loss") == 0)
            read.loss = text_to_number(value, 100);
        else if (strcmp(argv[i], "--seed") == 0)
            read.seed = text_to_number(value, INT32_MAX);
        else if (strcmp(argv[i], "--record") == 0)
            read.record = value;
        else if (strcmp(argv[i], "--ready-fd") == 0)
            read.ready_fd = static_cast<int>(text_to_number(value, 1000));
        else
            return -1;
    }
    const int tasks = (read.addresses != nullptr ? 1 : 0) + (read.fleet != nullptr ? 1 : 0) +
                      (read.tunnel != nullptr ? 1 : 0);
    const bool in_range = read.network >= 0 && read.loss >= 0 && read.seed >= 0;
    return tasks == 1 && in_range ? 0 : -1;
}

static int open_services(unsigned interface)
{
    for (udp_service &service : services) {
        if (udp_open(service.socket, service.family, service.port, interface) != 0 ||
            (service.port == SLP_PORT && slp_join(service.socket) != 0)) {
            fprintf(stderr, "simulator: UDP port %d: %s\n", service.port, strerror(errno));
            return -1;
        }
    }
    return 0;
}

// Answers all requests that wait on the socket of `service`.
static void serve(const fleet &devices, const udp_service &service)
{
    datagram request;
    while (udp_receive(service.socket, request) == 1) {
        record_request(service.word, request.source, request.destination, request.bytes);
        service.answer(devices, service.socket, request);
    }
}

// SIGTERM ends the loop; what has arrived until then is still written down.
static int open_end_signal()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

static void run(const fleet &devices, int end_signal)
{
    // One more round after the signal: it reads from the connections that the last one accepted.
    bool ending = false;
    bool ended = false;
    while (!ended) {
        std::vector<pollfd> waited = {{end_signal, POLLIN, 0}};
        for (const udp_service &service : services)
            waited.push_back({service.socket.fd.fd, POLLIN, 0});
        const size_t first_tcp = waited.size();
        tcp_add_waited(waited);
        const int64_t wait_us = shorter_wait(send_queue_wait_us(), tcp_wait_us());
        const timespec timeout = timespec_of(wait_us);
        ppoll(waited.data(), waited.size(), wait_us < 0 ? nullptr : &timeout, nullptr);
        ended = ending;
        ending = waited[0].revents != 0;
        for (const udp_service &service : services)
            serve(devices, service);
        tcp_serve(devices, waited, first_tcp);
        send_queue_run();
    }
}

// A listener for each scanner needs more descriptors than a process is given at first.
static void raise_descriptor_limit()
{
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

static void say_ready(int fd)
{
    if (fd >= 0)
        dprintf(fd, "ready\n");
}

static int run_fleet(const arguments &given, const fleet &devices)
{
    const unsigned interface = if_nametoindex(given.interface);
    if (interface == 0) {
        fprintf(stderr, "simulator: no interface %s\n", given.interface);
        return EXIT_BAD_START;
    }
    loss_set(static_cast<int>(given.loss), static_cast<uint64_t>(given.seed));
    raise_descriptor_limit();
    const descriptor end_signal(open_end_signal());
    if (end_signal.fd < 0 || open_services(interface) != 0 || inquiry_listen(devices) != 0 ||
        slp_listen(devices) != 0)
        return EXIT_BAD_START;
    say_ready(given.ready_fd);
    run(devices, end_signal.fd);
    return 0;
}

static int run_tunnel(const arguments &given)
{
    const descriptor end_signal(open_end_signal());
    const descriptor tunnel(tunnel_open(given.tunnel));
    if (end_signal.fd < 0 || tunnel.fd < 0) {
        fprintf(stderr, "simulator: tunnel %s: %s\n", given.tunnel, strerror(errno));
        return EXIT_BAD_START;
    }
    say_ready(given.ready_fd);
    tunnel_run(tunnel.fd, end_signal.fd);
    return 0;
}

int main(int argc, char **argv)
{
    arguments given;
    if (read_arguments(argc, argv, given) != 0) {
        fprintf(stderr, "use: simulator --addresses FLEET [--network N]\n"
                        "     simulator --fleet FLEET --interface NAME [--network N] [--loss "
                        "PERCENT] [--seed N] "
                        "[--record FILE] [--ready-fd N]\n"
                        "     simulator --tunnel NAME [--record FILE] [--ready-fd N]\n");
        return EXIT_BAD_START;
    }
    fleet devices;
    devices.network = given.network;
    const char *file = given.addresses != nullptr ? given.addresses : given.fleet;
    if (file != nullptr && fleet_read(file, devices) != 0)
        return EXIT_BAD_START;
    if (given.addresses != nullptr) {
        addresses_print(devices, given.interface);
        return 0;
    }
    if (given.record != nullptr && record_open(given.record) != 0) {
        fprintf(stderr, "simulator: %s: %s\n", given.record, strerror(errno));
        return EXIT_BAD_START;
    }
    return given.tunnel != nullptr ? run_tunnel(given) : run_fleet(given, devices);
}
