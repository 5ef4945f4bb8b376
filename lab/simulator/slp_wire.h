// The bytes of Service Location messages, version 2 (RFC 2608), right and wrong: of the simulated
// agents and of those that tests play. Shares nothing with the program's own agent, whose faults
// it would not show then.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

constexpr size_t WIRE_VERSION = 2;
constexpr size_t WIRE_REQUEST = 1;
constexpr size_t WIRE_REPLY = 2;
constexpr size_t WIRE_ADVERT = 8;
constexpr size_t WIRE_LIFETIME = 10800;  ///< of every URL, in seconds
constexpr size_t WIRE_OVERFLOW = 0x8000; ///< the flag: not all URLs fitted

/// Where a number stands: offset and width in bytes.
struct wire_field {
    size_t at, width;
};

constexpr wire_field VERSION_FIELD = {0, 1}, FUNCTION_FIELD = {1, 1}, LENGTH_FIELD = {2, 3};
constexpr wire_field FLAGS_FIELD = {5, 2}, EXTENSION_FIELD = {7, 3}, XID_FIELD = {10, 2};
/// The length of the language tag, which the header ends with.
constexpr wire_field LANGUAGE_FIELD = {12, 2};
/// From the end of the header: error code, and number of URL entries.
constexpr wire_field ERROR_FIELD = {0, 2}, COUNT_FIELD = {2, 2};
/// From the beginning of a URL entry and of an authentication block.
constexpr wire_field URL_FIELD = {3, 2}, BLOCK_FIELD = {2, 2}, SIGNER_FIELD = {8, 2};

/// What a header says beside the kind of the message and its length.
struct wire_header {
    size_t flags = 0;
    size_t xid = 0;
    std::string language = "en";
};

/// No authentication blocks.
inline const std::string UNSIGNED = {'\0'};

/// What a directory agent tells of itself; the time since which it runs is in seconds.
struct wire_agent {
    std::string url;
    std::string scopes;
    size_t timestamp = 1000;
    size_t error = 0;
    std::string signatures = UNSIGNED;
};

/// The texts of a request, in their order.
enum wire_request_text { RESPONDERS, SERVICE_TYPE, SCOPES, FILTER, SIGNER, REQUEST_TEXTS };
using wire_request_texts = std::array<std::string, REQUEST_TEXTS>;

/// The lowest bytes of a number, the highest of them first.
std::string wire_number(size_t number, size_t width);

/// The number in a field, which lies within the bytes.
size_t wire_number_at(std::string_view bytes, wire_field field);

/// A field of the body, as counted from the beginning of the message.
wire_field wire_behind_header(std::string_view message, wire_field field);

/// The bytes with one number in them replaced, to make a message lie.
std::string wire_with(std::string bytes, wire_field field, size_t number);

/// A text behind its length.
std::string wire_text(std::string_view text);

/// A message: the header, and the body behind it.
std::string wire_message(size_t function, const wire_header &header, const std::string &body);

/// An authentication block.
std::string wire_signature(const std::string &signer, const std::string &signature);

/// A URL entry. `signatures` are the number of authentication blocks, a byte, and the blocks.
std::string wire_url(const std::string &url, const std::string &signatures = UNSIGNED);

/// A reply with entries made by wire_url.
std::string wire_reply(const wire_header &header, const std::vector<std::string> &entries,
                       size_t error = 0);

/// The advert of a directory agent.
std::string wire_advert(const wire_header &header, const wire_agent &agent);

/// Reads a service request, every byte of which must be accounted for. Returns 0, or -1 when
/// `bytes` is anything else.
int wire_read_request(std::string_view bytes, wire_header &header, wire_request_texts &texts);
