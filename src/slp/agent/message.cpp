// SLP version 2 messages (RFC 2608) as bytes: requests are built and replies are read here.
#include "slp/agent/message.h"

#include "io/wait.h"

#include <algorithm>
#include <sys/random.h>

namespace
{

constexpr size_t TEXT_SIZE_MAX = UINT16_MAX;
/// The fields that every authentication block begins with: the kind of block (2 bytes), the
/// length of the whole block (2), a time (4) and the length of the signer's name (2).
constexpr size_t AUTH_BLOCK_SIZE_MIN = 10;

void put_number(std::vector<uint8_t> *message, size_t number, size_t width)
{
    for (size_t shift = 8 * width; shift > 0; shift -= 8)
        message->push_back(static_cast<uint8_t>(number >> (shift - 8)));
}

void put_text(std::vector<uint8_t> *message, std::string_view text)
{
    put_number(message, text.size(), 2);
    message->insert(message->end(), text.begin(), text.end());
}

/// The bytes still to be read. Taking more than there are sets `broken` and takes none.
struct byte_reader {
    const uint8_t *at;
    size_t left;
    bool broken;
};

bool take(byte_reader *reader, size_t count, const uint8_t **bytes)
{
    if (reader->broken || count > reader->left) {
        reader->broken = true;
        return false;
    }
    *bytes = reader->at;
    reader->at += count;
    reader->left -= count;
    return true;
}

/// Reads a number of `width` bytes, high byte first; 0 when it is cut.
uint32_t take_number(byte_reader *reader, size_t width)
{
    const uint8_t *bytes = nullptr;
    uint32_t number = 0;
    if (take(reader, width, &bytes))
        for (size_t i = 0; i < width; ++i)
            number = (number << 8) | bytes[i];
    return number;
}

uint16_t take_number16(byte_reader *reader)
{
    return static_cast<uint16_t>(take_number(reader, 2));
}

/// Reads a text that follows its 16-bit length; empty when it is cut.
std::string_view take_text(byte_reader *reader)
{
    const size_t length = take_number(reader, 2);
    const uint8_t *bytes = nullptr;
    if (!take(reader, length, &bytes))
        return {};
    return {reinterpret_cast<const char *>(bytes), length};
}

/// Checks a header and leaves the reader at the body, which ends where the message's own length
/// or the bytes received end, whichever comes first.
int read_header(byte_reader *reader, uint8_t function, uint16_t xid, uint16_t *flags)
{
    const size_t size = reader->left;
    if (size < SLP_HEADER_SIZE || reader->at[0] != SLP_VERSION)
        return SLP_REFUSED_HEADER;
    reader->left = std::min(size, slp_message_length(reader->at));
    take_number(reader, 1);
    const uint32_t found_function = take_number(reader, 1);
    take_number(reader, 3);
    *flags = take_number16(reader);
    take_number(reader, 3); // the offset of extensions, of which none is used
    const uint16_t found_xid = take_number16(reader);
    take_text(reader); // language tag
    if (reader->broken)
        return SLP_REFUSED_HEADER;
    if (found_function != function)
        return SLP_REFUSED_FUNCTION;
    return found_xid == xid ? 0 : SLP_REFUSED_XID;
}

void skip_auth_block(byte_reader *reader)
{
    take_number(reader, 2);
    const size_t size = take_number(reader, 2);
    take_number(reader, 4);
    const size_t signer_size = take_number(reader, 2);
    if (size < AUTH_BLOCK_SIZE_MIN || signer_size > size - AUTH_BLOCK_SIZE_MIN) {
        reader->broken = true;
        return;
    }
    const uint8_t *rest = nullptr;
    take(reader, size - AUTH_BLOCK_SIZE_MIN, &rest);
}

void skip_auth_blocks(byte_reader *reader)
{
    const uint32_t count = take_number(reader, 1);
    for (uint32_t i = 0; i < count && !reader->broken; ++i)
        skip_auth_block(reader);
}

slp_url_entry take_url_entry(byte_reader *reader)
{
    slp_url_entry entry;
    take_number(reader, 1); // reserved
    entry.lifetime = take_number16(reader);
    entry.url = take_text(reader);
    skip_auth_blocks(reader);
    return entry;
}

} // namespace

uint16_t slp_new_xid()
{
    uint16_t xid = 0;
    if (getrandom(&xid, sizeof xid, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof xid))
        xid = static_cast<uint16_t>(monotonic_us());
    return xid != 0 ? xid : 1;
}

std::vector<uint8_t> slp_build_request(const slp_request &request, uint16_t flags,
                                       std::string_view responders)
{
    const std::string_view texts[] = {responders,
                                      request.service_type,
                                      request.scopes,
                                      request.filter,
                                      {} /* signer: none asked for */};
    size_t length = SLP_HEADER_SIZE + request.language.size();
    bool fits = request.language.size() <= TEXT_SIZE_MAX;
    for (const std::string_view text : texts) {
        length += 2 + text.size();
        fits = fits && text.size() <= TEXT_SIZE_MAX;
    }
    std::vector<uint8_t> message;
    if (!fits)
        return message;
    put_number(&message, SLP_VERSION, 1);
    put_number(&message, SLP_FUNCTION_SRVRQST, 1);
    put_number(&message, length, 3);
    put_number(&message, flags, 2);
    put_number(&message, 0, 3); // no extensions
    put_number(&message, request.xid, 2);
    put_text(&message, request.language);
    for (const std::string_view text : texts)
        put_text(&message, text);
    return message;
}

size_t slp_message_length(const uint8_t *message)
{
    byte_reader reader = {message + 2, 3, false};
    return take_number(&reader, 3);
}

int slp_read_service_reply(const uint8_t *message, size_t size, uint16_t xid,
                           slp_service_reply *reply)
{
    *reply = {};
    byte_reader reader = {message, size, false};
    uint16_t flags = 0;
    const int refused = read_header(&reader, SLP_FUNCTION_SRVRPLY, xid, &flags);
    if (refused != 0)
        return refused;
    reply->overflow = (flags & SLP_FLAG_OVERFLOW) != 0;
    reply->error_code = take_number16(&reader);
    // A reply with an error may end behind the code (RFC 2608, 7).
    if (!reader.broken && reply->error_code != 0)
        return 0;
    const uint32_t count = take_number(&reader, 2);
    if (reader.broken)
        return SLP_REFUSED_BODY;
    for (uint32_t i = 0; i < count; ++i) {
        const slp_url_entry entry = take_url_entry(&reader);
        if (reader.broken)
            break;
        reply->urls.push_back(entry);
    }
    return 0;
}

int slp_read_da_advert(const uint8_t *message, size_t size, uint16_t xid, slp_da_advert *advert)
{
    *advert = {};
    byte_reader reader = {message, size, false};
    uint16_t flags = 0;
    const int refused = read_header(&reader, SLP_FUNCTION_DAADVERT, xid, &flags);
    if (refused != 0)
        return refused;
    advert->error_code = take_number16(&reader);
    if (!reader.broken && advert->error_code != 0)
        return 0;
    advert->boot_timestamp = take_number(&reader, 4);
    advert->url = take_text(&reader);
    advert->scopes = take_text(&reader);
    // Attributes, signers and authentication blocks follow; nothing of them is used.
    return reader.broken ? SLP_REFUSED_BODY : 0;
}
