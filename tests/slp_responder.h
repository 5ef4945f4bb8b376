// Agents for the tests: one thread that plays service and directory agents on 127.0.0.0/8, over
// UDP and TCP, after a script.
#pragma once

#include "slp_encoder.h"

#include "io/stream.h"

#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

/// A request as it arrived.
struct heard_request {
    wire_request request;
    std::string listener; ///< address it was sent to
    bool over_tcp;
    size_t number; ///< 0 for the first one of all
};

/// One answer. The sender is any address of 127.0.0.0/8, or none for the address asked; over TCP
/// it has no meaning.
struct played_answer {
    std::string bytes;
    std::string sender;
};

using responder_script = std::function<std::vector<played_answer>(const heard_request &)>;

/// Plays `script` on one port of the addresses 127.0.0.1, 127.0.0.2 and 127.0.0.3 until stopped.
/// Over TCP the bytes are sent in pieces and the connection is closed behind them.
struct slp_responder {
    uint16_t port = 0;

    explicit slp_responder(responder_script script);
    slp_responder(const slp_responder &) = delete;
    slp_responder &operator=(const slp_responder &) = delete;
    ~slp_responder();

    /// Stops the thread and returns all that was heard, in order.
    const std::vector<heard_request> &stop();

    struct listener {
        std::string address;
        descriptor udp;
        descriptor tcp;
    };

private:
    bool listen_on(uint16_t wanted);
    void run();
    void serve_udp(const listener &asked);
    void serve_tcp(const listener &asked);
    std::vector<played_answer> hear(const listener &asked, const std::string &bytes, bool over_tcp);

    responder_script script;
    std::vector<heard_request> heard;
    listener listeners[3];
    descriptor stop_reader, stop_writer;
    std::thread thread;
};
