// SLP version 2 messages (RFC 2608) as bytes: requests are built and replies are read here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

constexpr uint8_t SLP_VERSION = 2;
constexpr uint8_t SLP_FUNCTION_SRVRQST = 1;
constexpr uint8_t SLP_FUNCTION_SRVRPLY = 2;
constexpr uint8_t SLP_FUNCTION_DAADVERT = 8;
constexpr uint16_t SLP_FLAG_OVERFLOW = 0x8000;  ///< the reply did not fit: ask again over TCP
constexpr uint16_t SLP_FLAG_MULTICAST = 0x2000; ///< on requests sent by multicast or broadcast
constexpr size_t SLP_HEADER_SIZE = 14;          ///< without the language tag
constexpr size_t SLP_LENGTH_END = 5;            ///< bytes that hold the message's length

/// Why a reader refused a message whole.
constexpr int SLP_REFUSED_HEADER = -1;   ///< not SLP version 2, or a header that is cut
constexpr int SLP_REFUSED_FUNCTION = -2; ///< another kind of message
constexpr int SLP_REFUSED_XID = -3;      ///< answers another request
constexpr int SLP_REFUSED_BODY = -4;     ///< ends before the fields that every such reply has

/// One search, as far as its requests are the same for every agent asked.
struct slp_request {
    std::string language;
    std::string service_type;
    std::string scopes;
    std::string filter; ///< empty: every service matches
    uint16_t xid = 0;   ///< replies carry it back
};

/// One URL of a reply. The text lies in the message and is not terminated; it may hold any byte.
struct slp_url_entry {
    std::string_view url;
    uint16_t lifetime = 0; ///< seconds
};

struct slp_service_reply {
    uint16_t error_code = 0; ///< not 0: no URLs
    bool overflow = false;
    std::vector<slp_url_entry> urls; ///< all that are whole, up to the first broken one
};

/// A directory agent's announcement. The texts lie in the message.
struct slp_da_advert {
    uint16_t error_code = 0;     ///< not 0: the other fields are empty
    uint32_t boot_timestamp = 0; ///< seconds; 0: the agent is about to go away
    std::string_view url;
    std::string_view scopes;
};

/// Returns a number for the transactions of one search: not 0, and not to be guessed, so that
/// only those who saw the request can answer it.
uint16_t slp_new_xid();

/// Returns the SrvRqst message with `flags`; `responders` are the addresses of the agents that
/// have answered already and shall keep silent, separated by commas. Returns no bytes when a text
/// is longer than its 16-bit length can say.
std::vector<uint8_t> slp_build_request(const slp_request &request, uint16_t flags,
                                       std::string_view responders);

/// Returns the length in bytes that the message's first SLP_LENGTH_END bytes announce.
size_t slp_message_length(const uint8_t *message);

/// Reads a SrvRply that answers request `xid`. Returns 0, or why the message is refused. Entries
/// behind the first broken one, or behind the message's own length, are left out.
int slp_read_service_reply(const uint8_t *message, size_t size, uint16_t xid,
                           slp_service_reply *reply);

/// Reads a DAAdvert that answers request `xid`. Returns 0, or why the message is refused.
int slp_read_da_advert(const uint8_t *message, size_t size, uint16_t xid, slp_da_advert *advert);
