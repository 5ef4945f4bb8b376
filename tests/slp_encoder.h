// SLP messages as agents send them, right and wrong, built apart from the code under test.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

constexpr size_t WIRE_REPLY = 2;
constexpr size_t WIRE_ADVERT = 8;
constexpr size_t WIRE_OVERFLOW = 0x8000;
constexpr size_t WIRE_XID = 0x1234; ///< of all messages made here

/// Where a number stands: offset and width in bytes.
struct wire_field {
    size_t at, width;
};

constexpr wire_field VERSION_FIELD = {0, 1}, FUNCTION_FIELD = {1, 1}, LENGTH_FIELD = {2, 3};
constexpr wire_field FLAGS_FIELD = {5, 2}, XID_FIELD = {10, 2}, LANGUAGE_FIELD = {12, 2};
/// In replies, the language being "en".
constexpr wire_field ERROR_FIELD = {16, 2}, COUNT_FIELD = {18, 2};
/// In URL entries and in authentication blocks, from their own beginning.
constexpr wire_field URL_FIELD = {3, 2}, BLOCK_FIELD = {2, 2}, SIGNER_FIELD = {8, 2};

inline std::string wire_number(size_t number, size_t width)
{
    std::string bytes;
    for (size_t shift = 8 * width; shift > 0; shift -= 8)
        bytes += static_cast<char>(number >> (shift - 8) & 0xff);
    return bytes;
}

inline size_t wire_number_at(const std::string &bytes, wire_field field)
{
    size_t number = 0;
    for (size_t i = 0; i < field.width; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes.at(field.at + i));
    return number;
}

/// The bytes with one number in them replaced, to make a message lie.
inline std::string wire_with(std::string bytes, wire_field field, size_t number)
{
    bytes.replace(field.at, field.width, wire_number(number, field.width));
    return bytes;
}

inline std::string wire_text(const std::string &text)
{
    return wire_number(text.size(), 2) + text;
}

inline std::string wire_message(size_t function, size_t flags, const std::string &body)
{
    return wire_number(2, 1) + wire_number(function, 1) + wire_number(16 + body.size(), 3) +
           wire_number(flags, 2) + wire_number(0, 3) + wire_number(WIRE_XID, 2) + wire_text("en") +
           body;
}

inline std::string wire_auth(const std::string &signer, const std::string &signature)
{
    return wire_number(2, 2) + wire_number(10 + signer.size() + signature.size(), 2) +
           wire_number(99, 4) + wire_text(signer) + signature;
}

/// A URL entry; `signatures` are the number of authentication blocks and the blocks.
inline std::string wire_url(const std::string &url, const std::string &signatures = {'\0'})
{
    return wire_number(0, 1) + wire_number(300, 2) + wire_text(url) + signatures;
}

/// A reply with entries made by wire_url.
inline std::string wire_reply(const std::vector<std::string> &entries, size_t flags = 0)
{
    std::string body = wire_number(0, 2) + wire_number(entries.size(), 2);
    for (const std::string &entry : entries)
        body += entry;
    return wire_message(WIRE_REPLY, flags, body);
}

inline std::string wire_advert(const std::string &url, const std::string &scopes,
                               size_t timestamp = 1000, size_t error = 0)
{
    return wire_message(WIRE_ADVERT, 0,
                        wire_number(error, 2) + wire_number(timestamp, 4) + wire_text(url) +
                            wire_text(scopes) + wire_text("(a=b)") + wire_text("") + '\0');
}

/// The texts of a request: language, responders, type, scopes, filter and signer. Nothing but
/// "invalid" unless every byte of it is accounted for.
inline std::vector<std::string> wire_request_texts(const std::string &bytes)
{
    if (bytes.size() < 16 || wire_number_at(bytes, {0, 2}) != 0x0201 ||
        wire_number_at(bytes, LENGTH_FIELD) != bytes.size() || wire_number_at(bytes, {7, 3}) != 0)
        return {"invalid"};
    std::vector<std::string> texts(6);
    size_t at = LANGUAGE_FIELD.at;
    for (std::string &text : texts) {
        if (at + 2 > bytes.size() || at + 2 + wire_number_at(bytes, {at, 2}) > bytes.size())
            return {"invalid"};
        text = bytes.substr(at + 2, wire_number_at(bytes, {at, 2}));
        at += 2 + text.size();
    }
    return at == bytes.size() ? texts : std::vector<std::string>{"invalid"};
}
