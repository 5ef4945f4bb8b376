// SLP messages as agents send them, right and wrong, built apart from the code under test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

constexpr int WIRE_REPLY = 2;
constexpr int WIRE_ADVERT = 8;
constexpr int WIRE_OVERFLOW = 0x8000;
constexpr int WIRE_XID = 0x1234;

/// The fields of a header; a test changes those that shall lie.
struct wire_header {
    int version = 2;
    int function = WIRE_REPLY;
    int length = -1; ///< -1: the true one
    int flags = 0;
    int xid = WIRE_XID;
    std::string language = "en";
    int language_length = -1; ///< -1: the true one
};

inline std::string wire_number(size_t number, int width)
{
    std::string bytes;
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>((number >> shift) & 0xff);
    return bytes;
}

inline std::string wire_text(const std::string &text)
{
    return wire_number(text.size(), 2) + text;
}

inline size_t wire_or(int stated, size_t truth)
{
    return stated < 0 ? truth : static_cast<size_t>(stated);
}

inline std::string wire_message(const wire_header &header, const std::string &body)
{
    const size_t truth = 14 + header.language.size() + body.size();
    return wire_number(static_cast<size_t>(header.version), 1) +
           wire_number(static_cast<size_t>(header.function), 1) +
           wire_number(wire_or(header.length, truth), 3) +
           wire_number(static_cast<size_t>(header.flags), 2) + std::string(3, '\0') +
           wire_number(static_cast<size_t>(header.xid), 2) +
           wire_number(wire_or(header.language_length, header.language.size()), 2) +
           header.language + body;
}

/// One authentication block; the lengths can be made to lie.
inline std::string wire_auth(const std::string &signer, const std::string &signature,
                             int length = -1, int signer_length = -1)
{
    const size_t truth = 10 + signer.size() + signature.size();
    return wire_number(2, 2) + wire_number(wire_or(length, truth), 2) + wire_number(99, 4) +
           wire_number(wire_or(signer_length, signer.size()), 2) + signer + signature;
}

inline std::string wire_url(const std::string &url, const std::vector<std::string> &auths = {},
                            int auth_count = -1, int url_length = -1, size_t lifetime = 300)
{
    std::string entry = wire_number(0, 1) + wire_number(lifetime, 2) +
                        wire_number(wire_or(url_length, url.size()), 2) + url +
                        wire_number(wire_or(auth_count, auths.size()), 1);
    for (const std::string &auth : auths)
        entry += auth;
    return entry;
}

/// The body of a reply from entries made by wire_url.
inline std::string wire_entries(const std::vector<std::string> &entries, int count = -1,
                                size_t error = 0)
{
    std::string body = wire_number(error, 2) + wire_number(wire_or(count, entries.size()), 2);
    for (const std::string &entry : entries)
        body += entry;
    return body;
}

/// A faultless reply with the given URLs.
inline std::string wire_reply(const std::vector<std::string> &urls, int xid, int flags = 0)
{
    std::string body = wire_entries({}, static_cast<int>(urls.size()));
    for (const std::string &url : urls)
        body += wire_url(url);
    wire_header header;
    header.xid = xid;
    header.flags = flags;
    return wire_message(header, body);
}

/// A reply that holds nothing but an error code.
inline std::string wire_error(size_t error, int xid)
{
    wire_header header;
    header.xid = xid;
    return wire_message(header, wire_number(error, 2));
}

inline std::string wire_advert(const std::string &url, const std::string &scopes, int xid,
                               size_t timestamp = 1000, size_t error = 0)
{
    wire_header header;
    header.function = WIRE_ADVERT;
    header.xid = xid;
    return wire_message(header, wire_number(error, 2) + wire_number(timestamp, 4) + wire_text(url) +
                                    wire_text(scopes) + wire_text("(a=b)") + wire_text("") +
                                    wire_number(0, 1));
}

/// A request as an agent reads it; `valid` only when every byte of it is accounted for.
struct wire_request {
    bool valid = false;
    size_t flags = 0;
    int xid = 0;
    std::string language, responders, type, scopes, filter, signer;
};

inline size_t wire_number_at(const std::string &bytes, size_t offset, size_t width)
{
    size_t number = 0;
    for (size_t i = 0; i < width; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes.at(offset + i));
    return number;
}

inline wire_request wire_read_request(const std::string &bytes)
{
    wire_request request;
    if (bytes.size() < 16 || wire_number_at(bytes, 0, 2) != 0x0201 ||
        wire_number_at(bytes, 2, 3) != bytes.size() || wire_number_at(bytes, 7, 3) != 0)
        return request;
    request.flags = wire_number_at(bytes, 5, 2);
    request.xid = static_cast<int>(wire_number_at(bytes, 10, 2));
    size_t at = 12;
    for (std::string *text : {&request.language, &request.responders, &request.type,
                              &request.scopes, &request.filter, &request.signer}) {
        if (at + 2 > bytes.size() || at + 2 + wire_number_at(bytes, at, 2) > bytes.size())
            return request;
        *text = bytes.substr(at + 2, wire_number_at(bytes, at, 2));
        at += 2 + text->size();
    }
    request.valid = at == bytes.size();
    return request;
}
