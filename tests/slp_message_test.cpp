// The SLP messages: what is sent, what is read, and what is refused.
#include "slp/agent/message.h"

#include "simulator/slp_wire.h"

#include <gtest/gtest.h>

#include <set>

namespace
{

constexpr uint16_t XID = 0x1234;
const wire_header HEADER = {0, XID};
const std::string ENTRY_A = wire_url("a");
const std::string ENTRY_B = wire_url("b");
const std::string WHOLE = wire_reply(HEADER, {ENTRY_A, ENTRY_B});

/// Reads a reply from memory of just its size, where a sanitizer sees every byte read too many, and
/// returns its URLs with blanks behind them; "error N" or "refused N" otherwise.
std::string read_reply(const std::string &message)
{
    const std::vector<uint8_t> bytes(message.begin(), message.end());
    slp_service_reply reply;
    const int refused = slp_read_service_reply(bytes.data(), bytes.size(), XID, &reply);
    std::string text = reply.overflow ? "overflow " : "";
    if (refused != 0)
        text += "refused " + std::to_string(refused);
    if (reply.error_code != 0)
        text += "error " + std::to_string(reply.error_code);
    for (const slp_url_entry &entry : reply.urls) {
        text += std::string(entry.url) + " ";
        EXPECT_EQ(entry.lifetime, WIRE_LIFETIME);
    }
    return text;
}

} // namespace

TEST(SlpMessage, RequestIsReadBackByAnIndependentReader)
{
    slp_request request = {"en", "service:printer", std::string(65535, 's'), "(x=1)", 0xA1B2};
    const std::vector<uint8_t> built = slp_build_request(request, 0x2000, "10.0.0.1,10.0.0.2");
    wire_header header;
    wire_request_texts texts;
    EXPECT_EQ(wire_read_request({reinterpret_cast<const char *>(built.data()), built.size()},
                                header, texts),
              0);
    EXPECT_TRUE(header.flags == 0x2000 && header.xid == 0xA1B2 && header.language == "en");
    EXPECT_EQ(texts, (wire_request_texts{"10.0.0.1,10.0.0.2", "service:printer", request.scopes,
                                         "(x=1)", ""}));
    request.scopes += 's';
    EXPECT_TRUE(slp_build_request(request, 0, "").empty()) << "longer than its length can say";
    EXPECT_GT((std::set{slp_new_xid(), slp_new_xid(), slp_new_xid()}.size()), 1U);
}

TEST(SlpMessage, RefusesWhatIsNoReplyAndKeepsTheEntriesBeforeTheFirstBrokenOne)
{
    const wire_field count = wire_behind_header(WHOLE, COUNT_FIELD);
    const std::string auth = wire_signature("signer", "signature");
    const auto reply = [](const std::string &second) {
        return wire_reply(HEADER, {ENTRY_A, second});
    };
    const auto signed_b = [&](const std::string &blocks) { return reply(wire_url("b", blocks)); };
    const struct {
        const char *name;
        std::string message;
        const char *read;
    } cases[] = {
        {"version 1", wire_with(WHOLE, VERSION_FIELD, 1), "refused -1"},
        {"length in the header", wire_with(WHOLE, LENGTH_FIELD, 13), "refused -1"},
        {"language too long", wire_with(WHOLE, LANGUAGE_FIELD, 65535), "refused -1"},
        {"request", wire_with(WHOLE, FUNCTION_FIELD, 1), "refused -2"},
        {"other transaction", wire_with(WHOLE, XID_FIELD, 9), "refused -3"},
        {"length in the count", wire_with(WHOLE, LENGTH_FIELD, 19), "refused -4"},
        {"fewer announced", wire_with(WHOLE, count, 1), "a "},
        {"more announced", wire_with(WHOLE, count, 65535), "a b "},
        {"length too large", wire_with(WHOLE, LENGTH_FIELD, 0xFFFFFF), "a b "},
        {"length ends in the last entry", wire_with(WHOLE, LENGTH_FIELD, WHOLE.size() - 1), "a "},
        {"extensions behind the entries", reply(ENTRY_B + "\x40\x02 rest"), "a b "},
        {"url one byte too long", reply(wire_with(ENTRY_B, URL_FIELD, 3)), "a "},
        {"signed twice", signed_b("\2" + auth + wire_signature("", "")), "a b "},
        {"signatures missing", signed_b("\xff" + auth), "a "},
        {"signature of length 9", signed_b("\1" + wire_with(auth, BLOCK_FIELD, 9)), "a "},
        {"long signature", signed_b("\1" + wire_with(auth, BLOCK_FIELD, 65535)), "a "},
        {"long signer", signed_b("\1" + wire_with(auth, SIGNER_FIELD, 16)), "a "},
        {"overflow", wire_reply({WIRE_OVERFLOW, XID}, {ENTRY_A}), "overflow a "},
        {"error alone", wire_message(WIRE_REPLY, HEADER, wire_number(4, 2)), "error 4"},
        {"error with urls", wire_reply(HEADER, {ENTRY_A, ENTRY_B}, 14), "error 14"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(read_reply(c.message), c.read) << c.name;
}
