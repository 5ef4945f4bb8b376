// Messages of the Service Location Protocol, version 2 (RFC 2608): service requests are read,
// service replies and directory agent adverts are built.
#include "simulator/slp_message.h"

#include "simulator/text.h"

constexpr uint8_t VERSION = 2;
constexpr uint8_t SERVICE_REQUEST = 1;
constexpr uint8_t SERVICE_REPLY = 2;
constexpr uint8_t ATTRIBUTE_REPLY = 7;
constexpr uint8_t AGENT_ADVERT = 8;

// Offsets in the header: version, function, 3 bytes length, 2 flags, 3 extension offset, 2 XID,
// 2 length of the language tag, the tag.
constexpr size_t LENGTH_OFFSET = 2;
constexpr size_t XID_OFFSET = 10;
constexpr size_t LANGUAGE_LENGTH_OFFSET = 12;
constexpr size_t HEADER_SIZE = 14;

constexpr size_t COUNT_LIE = 5;      // entries too many
constexpr size_t LENGTH_LIE = 1000;  // bytes too many
constexpr size_t TRUNCATE_BYTES = 7; // bytes missing
constexpr uint32_t BOOT_TIME = 1;    // of the directory agent: not 0, which would mean a shutdown
constexpr uint32_t SIGNED_UNTIL = 0x7FFFFFFF;

static uint32_t number_at(std::string_view bytes, size_t offset, size_t width)
{
    uint32_t number = 0;
    for (size_t i = 0; i < width; ++i)
        number = number << 8 | static_cast<uint8_t>(bytes[offset + i]);
    return number;
}

static std::string in_bytes(uint32_t value, size_t width)
{
    std::string bytes(width, '\0');
    for (size_t i = width; i > 0; --i, value >>= 8)
        bytes[i - 1] = static_cast<char>(value & 0xFF);
    return bytes;
}

// A text behind its length of two bytes.
static std::string counted(std::string_view text)
{
    return in_bytes(static_cast<uint32_t>(text.size()), 2) + std::string(text);
}

static int take_counted(std::string_view &rest, std::string_view &text)
{
    if (rest.size() < 2)
        return -1;
    const size_t length = number_at(rest, 0, 2);
    if (rest.size() - 2 < length)
        return -1;
    text = rest.substr(2, length);
    rest.remove_prefix(2 + length);
    return 0;
}

size_t slp_stated_length(std::string_view bytes)
{
    return bytes.size() < LENGTH_OFFSET + 3 ? 0 : number_at(bytes, LENGTH_OFFSET, 3);
}

int slp_read_request(std::string_view bytes, slp_request &request)
{
    if (bytes.size() < HEADER_SIZE || static_cast<uint8_t>(bytes[0]) != VERSION ||
        static_cast<uint8_t>(bytes[1]) != SERVICE_REQUEST ||
        slp_stated_length(bytes) != bytes.size())
        return -1;
    request.xid = static_cast<uint16_t>(number_at(bytes, XID_OFFSET, 2));
    std::string_view rest = bytes.substr(LANGUAGE_LENGTH_OFFSET);
    std::string_view language, responders, type, scopes, predicate, spi;
    if (take_counted(rest, language) != 0 || take_counted(rest, responders) != 0 ||
        take_counted(rest, type) != 0 || take_counted(rest, scopes) != 0 ||
        take_counted(rest, predicate) != 0 || take_counted(rest, spi) != 0)
        return -1;
    request.language = language;
    request.responders = text_split_list(responders);
    request.type = type;
    request.scopes = text_split_list(scopes);
    return 0;
}

// An authentication block with a made-up signature: structure descriptor 2 (DSA with SHA-1), its
// own length, the time stamp, the name of the key, the signature.
static std::string authentication_block()
{
    const std::string tail = in_bytes(SIGNED_UNTIL, 4) + counted("lab") + std::string(46, '\x5A');
    return in_bytes(2, 2) + in_bytes(static_cast<uint32_t>(tail.size() + 4), 2) + tail;
}

static std::string authentication_blocks(const slp_answer &answer)
{
    if (!answer.authenticated)
        return in_bytes(0, 1);
    return in_bytes(2, 1) + authentication_block() + authentication_block();
}

static std::string url_entry(const slp_answer &answer, const std::string &url, bool lying)
{
    const size_t stated = url.size() + (lying ? LENGTH_LIE : 0);
    return in_bytes(0, 1) + in_bytes(answer.lifetime, 2) +
           in_bytes(static_cast<uint32_t>(stated), 2) + url + authentication_blocks(answer);
}

// Puts the header before `body`, with the faults that concern the whole message.
static std::string build_message(const slp_answer &answer, uint8_t function, uint16_t flags,
                                 const std::string &body)
{
    const std::string &lie = answer.lie;
    const size_t length = HEADER_SIZE + answer.language.size() + body.size();
    const size_t language = answer.language.size() + (lie == "language" ? LENGTH_LIE : 0);
    const int xid = answer.xid + (lie == "xid" ? 1 : 0);
    std::string message = in_bytes(lie == "version" ? VERSION - 1 : VERSION, 1) +
                          in_bytes(lie == "function" ? ATTRIBUTE_REPLY : function, 1);
    message += in_bytes(static_cast<uint32_t>(length + (lie == "length" ? LENGTH_LIE : 0)), 3);
    message += in_bytes(flags, 2) + in_bytes(0, 3) + in_bytes(static_cast<uint32_t>(xid), 2);
    message += in_bytes(static_cast<uint32_t>(language), 2) + answer.language + body;
    if (lie == "truncate")
        message.resize(message.size() - TRUNCATE_BYTES);
    return message;
}

std::string slp_build_reply(const slp_answer &answer, size_t limit)
{
    size_t size = HEADER_SIZE + answer.language.size() + 4;
    uint16_t flags = answer.flags;
    std::string entries;
    size_t count = 0;
    for (const std::string &url : answer.urls) {
        const bool lying = answer.lie == "url-length" && &url == &answer.urls.back();
        const std::string entry = url_entry(answer, url, lying);
        if (size + entry.size() > limit || count == UINT16_MAX) {
            flags |= SLP_FLAG_OVERFLOW;
            break;
        }
        size += entry.size();
        entries += entry;
        ++count;
    }
    if (answer.lie == "count")
        count += COUNT_LIE;
    return build_message(answer, SERVICE_REPLY, flags,
                         in_bytes(answer.error, 2) + in_bytes(static_cast<uint32_t>(count), 2) +
                             entries);
}

std::string slp_build_advert(const slp_answer &answer, std::string_view scopes)
{
    const std::string body = in_bytes(answer.error, 2) + in_bytes(BOOT_TIME, 4) +
                             counted(answer.urls.front()) + counted(scopes) + counted("") +
                             counted("") + authentication_blocks(answer);
    return build_message(answer, AGENT_ADVERT, answer.flags, body);
}
