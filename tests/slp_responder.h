// Agents for the tests: service and directory agents that play one talk, over UDP and TCP, on
// 127.0.0.1, 127.0.0.2 and 127.0.0.3; and searches that see nothing but them.
#pragma once

#include "slp/agent/settings.h"

#include "slp_encoder.h"

#include <functional>

/// One request and its answers.
struct exchange {
    /// The way ("group", "udp" or "tcp"), the last number of the address asked, and those of its
    /// texts that are not the usual ones: "udp 2", "group 1 127.0.0.3".
    std::string request;
    /// Replies in short, separated by blanks: "A", "B" and "C" stand for URLs ("-": none), "+" for
    /// the overflow flag, "?" for another transaction, "<" for a last byte that is cut, "!" for an
    /// error code and nothing else, "@4" for the sender 127.0.0.4 (else: the address asked);
    /// "=SCOPES" is an advert, which answers the last request for one.
    std::string replies;
    /// Whole messages, sent before the replies and from 127.0.0.2.
    std::vector<std::string> messages = {};
};

using slp_configure = std::function<void(slp_settings *)>;

/// Searches for printers and expects just the requests of the talk. 127.0.0.1 plays the multicast
/// group, there is no search for directory agents, and every wait takes 300 ms; `configure` may
/// change that. The callback refuses the call number `refused`. Returns the calls (the letter of a
/// URL, or "last") and the code in the end, with blanks.
std::string search(const std::vector<exchange> &talk, const slp_configure &configure = nullptr,
                   size_t refused = SIZE_MAX);
