// Agents for the tests: one thread that plays service and directory agents on 127.0.0.0/8, over
// UDP and TCP, after a script; and searches that see nothing but them.
#pragma once

#include "io/stream.h"
#include "slp/agent/settings.h"
#include "slp/agent/slp.h"

#include "slp_encoder.h"

#include <functional>
#include <thread>

using texts = std::vector<std::string>;

/// A request as it arrived.
struct heard_request {
    wire_request request;
    int listener; ///< 1 to 3: the last number of the address it was sent to
    bool over_tcp;
    size_t number; ///< 0 for the first one of all
};

/// One answer, from 127.0.0.0/8; without a sender it comes from the address asked, as it always
/// does over TCP.
struct played_answer {
    std::string bytes;
    std::string sender;
};

using played_answers = std::vector<played_answer>;
using responder_script = std::function<played_answers(const heard_request &)>;

/// Plays a script on one port of 127.0.0.1, 127.0.0.2 and 127.0.0.3 until stopped. Over TCP the
/// bytes are sent in pieces and the connection is closed behind them.
struct slp_responder {
    uint16_t port = 0;
    responder_script script;
    std::vector<heard_request> heard;
    descriptor udp[3], tcp[3];
    descriptor stop_reader, stop_writer;
    std::thread thread;

    explicit slp_responder(responder_script played);
    slp_responder(const slp_responder &) = delete;
    slp_responder &operator=(const slp_responder &) = delete;
    ~slp_responder()
    {
        stop();
    }

    /// Stops the thread and returns all that was heard, in order.
    const std::vector<heard_request> &stop();
};

/// Requests in short: way ("group", "udp" or "tcp"), listener, "da" for a search for directory
/// agents, and the list of answerers.
texts shown(const std::vector<heard_request> &heard);

/// A reply in short: "A", "B" and "C" stand for the URLs below, "+" for the overflow flag, "?" for
/// another transaction, "<" for a last byte that is cut, "!" for an error code and nothing else.
std::string reply(const std::string &brief, const heard_request &heard);

const std::string URL_A = "service:printer:lpr://10.0.0.1/a";
const std::string URL_B = "service:printer:ipp://10.0.0.2/b";
const std::string URL_C = "service:printer:ipp://10.0.0.3/c";

/// A handle whose traffic stays on the loopback: 127.0.0.1 plays the multicast group. There is no
/// search for directory agents, and every wait takes 300 ms.
struct local_handle {
    SLPHandle handle = nullptr;
    slp_settings *settings = nullptr;
    slp_properties *properties = nullptr;

    explicit local_handle(uint16_t port);
    local_handle(const local_handle &) = delete;
    local_handle &operator=(const local_handle &) = delete;
    ~local_handle()
    {
        SLPClose(handle);
    }
};

/// Searches for printers with a callback that refuses the call number `most`. Returns the calls
/// ("A" for URL_A and so on, another URL as it is, "last") and the code in the end, with blanks.
std::string search(const local_handle &local, size_t most = SIZE_MAX);
