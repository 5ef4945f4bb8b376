// What the simulated agents understand and say: service requests are read, service replies and
// directory agent adverts are built.
#include "simulator/slp_message.h"

#include "simulator/text.h"

constexpr size_t TRUNCATE_BYTES = 7;     // missing
constexpr size_t URL_LENGTH_LIE = 1000;  // bytes too many
constexpr size_t OTHER_FUNCTION_LIE = 5; // an attribute reply instead of a service reply

// What a lie adds to a number of the message.
struct number_lie {
    std::string_view name;
    wire_field field;
    size_t added;
    bool in_reply = false; ///< the field is one of replies, behind the header
};

constexpr number_lie NUMBER_LIES[] = {
    {"version", VERSION_FIELD, 0xFF}, // which makes it one less
    {"function", FUNCTION_FIELD, OTHER_FUNCTION_LIE},
    {"length", LENGTH_FIELD, 1000},
    {"language", LANGUAGE_FIELD, 1000},
    {"xid", XID_FIELD, 1},
    {"count", COUNT_FIELD, 5, true},
};

static std::string with_lie(const std::string &message, std::string_view lie)
{
    if (lie == "truncate")
        return message.substr(0, message.size() - TRUNCATE_BYTES);
    for (const number_lie &one : NUMBER_LIES) {
        if (one.name != lie ||
            (one.in_reply && wire_number_at(message, FUNCTION_FIELD) != WIRE_REPLY))
            continue;
        const wire_field field = one.in_reply ? wire_behind_header(message, one.field) : one.field;
        return wire_with(message, field, wire_number_at(message, field) + one.added);
    }
    return message;
}

size_t slp_stated_length(std::string_view bytes)
{
    const size_t end = LENGTH_FIELD.at + LENGTH_FIELD.width;
    return bytes.size() < end ? 0 : wire_number_at(bytes, LENGTH_FIELD);
}

int slp_read_request(std::string_view bytes, slp_request &request)
{
    wire_request_texts texts;
    if (wire_read_request(bytes, request.header, texts) != 0)
        return -1;
    request.responders = text_split_list(texts[RESPONDERS]);
    request.type = texts[SERVICE_TYPE];
    request.scopes = text_split_list(texts[SCOPES]);
    return 0;
}

// The authentication blocks of a URL or an advert, with made-up signatures.
static std::string signatures_of(const slp_answer &answer)
{
    if (answer.lie != "auth")
        return UNSIGNED;
    const std::string block = wire_signature("lab", std::string(46, '\x5A'));
    return wire_number(2, 1) + block + block;
}

std::string slp_build_reply(const slp_answer &answer, size_t limit)
{
    wire_header header = answer.header;
    size_t size = wire_reply(header, {}).size();
    std::vector<std::string> entries;
    for (const std::string &url : answer.urls) {
        entries.push_back(wire_url(url, signatures_of(answer)));
        size += entries.back().size();
        if (size > limit || entries.size() > UINT16_MAX) {
            header.flags |= WIRE_OVERFLOW;
            entries.pop_back();
            break;
        }
    }
    if (answer.lie == "url-length" && !entries.empty() && entries.size() == answer.urls.size())
        entries.back() =
            wire_with(entries.back(), URL_FIELD, answer.urls.back().size() + URL_LENGTH_LIE);
    return with_lie(wire_reply(header, entries, answer.error), answer.lie);
}

std::string slp_build_advert(const slp_answer &answer, std::string_view scopes)
{
    wire_agent agent = {answer.urls.front(), std::string(scopes)};
    agent.error = answer.error;
    agent.signatures = signatures_of(answer);
    return with_lie(wire_advert(answer.header, agent), answer.lie);
}
