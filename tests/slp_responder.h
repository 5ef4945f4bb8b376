// Agents for the tests: service and directory agents that play one talk, over UDP and TCP, on
// 127.0.0.1, 127.0.0.2 and 127.0.0.3; and searches that see nothing but them.
#pragma once

#include "simulator/slp_wire.h"

/// Searches for printers and expects just the requests of the talk: "REQUEST: REPLIES; ...".
///
/// A request is the way ("group", "udp" or "tcp"), the last number of the address asked, and those
/// of its texts that are not the usual ones: "udp 2 lab", "group 1 2,3" when the group is told that
/// 127.0.0.2 and 127.0.0.3 have answered. "DA" is the service type of directory agents.
///
/// Replies stand in short, separated by blanks: "A" to "Z" are URLs ("-": none), "+" is the
/// overflow flag, "?" another transaction, "<" a last byte that is cut, "!" an error code and
/// nothing else,
/// "@4" the sender 127.0.0.4 (else: the address asked); "=SCOPES" is an advert, which answers the
/// last request for one; "*" is the next of the messages. At the URL "P" the callback pauses for a
/// second, and it refuses "R".
///
/// 127.0.0.1 plays the multicast group, there is no search for directory agents, and every wait
/// takes 300 ms; `configuration`, lines of a properties file, may change that. Returns the calls
/// (the letter of a URL, or "last") and the code in the end, with blanks.
std::string search(const std::string &talk, const std::string &configuration = "",
                   const std::vector<std::string> &messages = {});
