// What the simulated agents understand and say: service requests are read, service replies and
// directory agent adverts are built.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/slp_wire.h"

constexpr uint16_t SLP_ERROR_PARSE = 2;
constexpr uint16_t SLP_ERROR_SCOPE_NOT_SUPPORTED = 4;

struct slp_request {
    wire_header header;
    std::vector<std::string> responders; ///< address texts of those that need not answer again
    std::string type;
    std::vector<std::string> scopes;
};

/// What goes into a reply or an advert, faults included.
struct slp_answer {
    wire_header header;
    uint16_t error = 0;
    std::vector<std::string> urls;
    /// The fault: empty, auth (two authentication blocks at every URL), count, url-length, length,
    /// language, xid, version, function or truncate.
    std::string lie;
};

/// The length that a message states in its header, 0 while less than its first five bytes are
/// there.
size_t slp_stated_length(std::string_view bytes);

/// Reads a service request. Returns 0, or -1 when `bytes` is anything else.
int slp_read_request(std::string_view bytes, slp_request &request);

/// Builds a service reply. URLs that would make it longer than `limit` bytes are left out and the
/// overflow flag is set.
std::string slp_build_reply(const slp_answer &answer, size_t limit);

/// Builds the advert of a directory agent with the first URL of `answer` and the scope list.
std::string slp_build_advert(const slp_answer &answer, std::string_view scopes);
