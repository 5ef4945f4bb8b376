// The multicast convergence of RFC 2608, 6.3: one request, repeated with the list of those that
// have answered, until nobody new answers.
#pragma once

#include "slp/agent/message.h"
#include "slp/agent/properties.h"
#include "slp/agent/slp.h"

#include <cstddef>
#include <cstdint>
#include <netinet/in.h>

/// What a reader made of a datagram.
constexpr int SLP_DATAGRAM_FOREIGN = 0;  ///< no answer to the request; forgotten
constexpr int SLP_DATAGRAM_ANSWER = 1;   ///< the sender has answered
constexpr int SLP_DATAGRAM_COMPLETE = 2; ///< the search has all that it wants

/// Reads one datagram of `size` bytes; returns one of the above.
using slp_datagram_reader = int (*)(void *context, const uint8_t *bytes, size_t size,
                                    const struct sockaddr_in &sender);

/// How long a search goes on.
struct slp_patience {
    const slp_timeouts &timeouts; ///< the waits after each request
    int64_t maximum_wait;         ///< milliseconds that all waits may add up to
    int idle_repetitions;         ///< repeated requests in a row without a new sender: the end
    int32_t regular_wait = 0;     ///< milliseconds; if not 0: each wait, instead of the timeouts
};

/// Sends `request` by multicast (or broadcast) over every usable interface and collects answers.
/// The search ends when enough repeated requests brought no new sender, when the waits are used up
/// or the next one would pass the maximum, or when the reader is content; all of these are SLP_OK.
/// Answerers beyond those that a request of the MTU can name answer once more and are nobody new.
/// Other codes: SLP_BUFFER_OVERFLOW when already the first request is longer than the MTU,
/// SLP_NETWORK_INIT_FAILED without a socket, SLP_NETWORK_ERROR when no interface takes a request or
/// the socket fails.
SLPError slp_converge(const slp_settings &settings, const slp_request &request,
                      const slp_patience &patience, slp_datagram_reader reader, void *context);

/// Longest message in bytes that fits a datagram under net.slp.MTU, which counts the headers too.
size_t slp_longest_message(const slp_properties &properties);
