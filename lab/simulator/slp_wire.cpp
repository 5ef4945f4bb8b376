// The bytes of Service Location messages, version 2 (RFC 2608), right and wrong.
#include "simulator/slp_wire.h"

constexpr size_t HEADER_SIZE = 14;          // up to the language tag
constexpr size_t SIGNATURE_BASE = 10;       // bytes of an authentication block but for its texts
constexpr size_t DSA_WITH_SHA_1 = 2;        // how a block is signed
constexpr size_t SIGNED_UNTIL = 0x7FFFFFFF; // seconds

std::string wire_number(size_t number, size_t width)
{
    std::string bytes;
    for (size_t shift = 8 * width; shift > 0; shift -= 8)
        bytes += static_cast<char>(number >> (shift - 8) & 0xFF);
    return bytes;
}

size_t wire_number_at(std::string_view bytes, wire_field field)
{
    size_t number = 0;
    for (size_t i = 0; i < field.width; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes.at(field.at + i));
    return number;
}

wire_field wire_behind_header(std::string_view message, wire_field field)
{
    return {HEADER_SIZE + wire_number_at(message, LANGUAGE_FIELD) + field.at, field.width};
}

std::string wire_with(std::string bytes, wire_field field, size_t number)
{
    bytes.replace(field.at, field.width, wire_number(number, field.width));
    return bytes;
}

std::string wire_text(std::string_view text)
{
    return wire_number(text.size(), 2) + std::string(text);
}

std::string wire_message(size_t function, const wire_header &header, const std::string &body)
{
    const size_t length = HEADER_SIZE + header.language.size() + body.size();
    return wire_number(WIRE_VERSION, VERSION_FIELD.width) +
           wire_number(function, FUNCTION_FIELD.width) + wire_number(length, LENGTH_FIELD.width) +
           wire_number(header.flags, FLAGS_FIELD.width) + wire_number(0, EXTENSION_FIELD.width) +
           wire_number(header.xid, XID_FIELD.width) + wire_text(header.language) + body;
}

std::string wire_signature(const std::string &signer, const std::string &signature)
{
    return wire_number(DSA_WITH_SHA_1, 2) +
           wire_number(SIGNATURE_BASE + signer.size() + signature.size(), BLOCK_FIELD.width) +
           wire_number(SIGNED_UNTIL, 4) + wire_text(signer) + signature;
}

std::string wire_url(const std::string &url, const std::string &signatures)
{
    return wire_number(0, 1) + wire_number(WIRE_LIFETIME, 2) + wire_text(url) + signatures;
}

std::string wire_reply(const wire_header &header, const std::vector<std::string> &entries,
                       size_t error)
{
    std::string body =
        wire_number(error, ERROR_FIELD.width) + wire_number(entries.size(), COUNT_FIELD.width);
    for (const std::string &entry : entries)
        body += entry;
    return wire_message(WIRE_REPLY, header, body);
}

std::string wire_advert(const wire_header &header, const wire_agent &agent)
{
    return wire_message(WIRE_ADVERT, header,
                        wire_number(agent.error, ERROR_FIELD.width) +
                            wire_number(agent.timestamp, 4) + wire_text(agent.url) +
                            wire_text(agent.scopes) + wire_text("(a=b)") + wire_text("") +
                            agent.signatures);
}

static int take_text(std::string_view &rest, std::string &text)
{
    if (rest.size() < 2)
        return -1;
    const size_t length = wire_number_at(rest, {0, 2});
    if (rest.size() - 2 < length)
        return -1;
    text = rest.substr(2, length);
    rest.remove_prefix(2 + length);
    return 0;
}

int wire_read_request(std::string_view bytes, wire_header &header, wire_request_texts &texts)
{
    if (bytes.size() < HEADER_SIZE || wire_number_at(bytes, VERSION_FIELD) != WIRE_VERSION ||
        wire_number_at(bytes, FUNCTION_FIELD) != WIRE_REQUEST ||
        wire_number_at(bytes, LENGTH_FIELD) != bytes.size() ||
        wire_number_at(bytes, EXTENSION_FIELD) != 0)
        return -1;
    header.flags = wire_number_at(bytes, FLAGS_FIELD);
    header.xid = wire_number_at(bytes, XID_FIELD);
    std::string_view rest = bytes.substr(LANGUAGE_FIELD.at);
    if (take_text(rest, header.language) != 0)
        return -1;
    for (std::string &text : texts) {
        if (take_text(rest, text) != 0)
            return -1;
    }
    return rest.empty() ? 0 : -1;
}
