// The SLP messages: what is sent, what is read, and what is refused.
#include "slp/agent/message.h"

#include "slp_encoder.h"

#include <gtest/gtest.h>

#include <set>

namespace
{

const std::string ENTRY_A = wire_url("a");
const std::string ENTRY_B = wire_url("b");
const std::string WHOLE = wire_reply({ENTRY_A, ENTRY_B});

/// The bytes in memory of just their size, so that a sanitizer sees every byte read too many.
std::vector<uint8_t> exact_copy(const std::string &text)
{
    return {text.begin(), text.end()};
}

/// Reads a reply and returns its URLs with blanks behind them; "error N" or "refused N" otherwise.
std::string read_reply(const std::string &message)
{
    const std::vector<uint8_t> bytes = exact_copy(message);
    slp_service_reply reply;
    const int refused = slp_read_service_reply(bytes.data(), bytes.size(), WIRE_XID, &reply);
    std::string text = reply.overflow ? "overflow " : "";
    if (refused != 0)
        text += "refused " + std::to_string(refused);
    if (reply.error_code != 0)
        text += "error " + std::to_string(reply.error_code);
    for (const slp_url_entry &entry : reply.urls) {
        text += std::string(entry.url) + " ";
        EXPECT_EQ(entry.lifetime, 300);
    }
    return text;
}

} // namespace

TEST(SlpMessage, RequestIsReadBackByAnIndependentReader)
{
    slp_request request = {"en", "service:printer", std::string(65535, 's'), "(x=1)", 0xA1B2};
    const std::vector<uint8_t> built = slp_build_request(request, 0x2000, "10.0.0.1,10.0.0.2");
    const std::string text(built.begin(), built.end());
    EXPECT_EQ(wire_number_at(text, FLAGS_FIELD), 0x2000U);
    EXPECT_EQ(wire_number_at(text, XID_FIELD), 0xA1B2U);
    EXPECT_EQ(wire_request_texts(text),
              (std::vector<std::string>{"en", "10.0.0.1,10.0.0.2", "service:printer",
                                        request.scopes, "(x=1)", ""}));
    request.scopes += 's';
    EXPECT_TRUE(slp_build_request(request, 0, "").empty()) << "longer than its length can say";
}

TEST(SlpMessage, TransactionNumbersAreNotToBeGuessed)
{
    std::set<uint16_t> numbers;
    for (int i = 0; i < 16; ++i)
        numbers.insert(slp_new_xid());
    EXPECT_GT(numbers.size(), 8U);
}

TEST(SlpMessage, RefusesWhatIsNoReplyToTheRequest)
{
    const struct {
        const char *name;
        std::string message;
        int refused;
    } cases[] = {
        {"empty", "", SLP_REFUSED_HEADER},
        {"one byte short of a header", WHOLE.substr(0, 13), SLP_REFUSED_HEADER},
        {"version 1", wire_with(WHOLE, VERSION_FIELD, 1), SLP_REFUSED_HEADER},
        {"length 0", wire_with(WHOLE, LENGTH_FIELD, 0), SLP_REFUSED_HEADER},
        {"length in the header", wire_with(WHOLE, LENGTH_FIELD, 13), SLP_REFUSED_HEADER},
        {"length in the language", wire_with(WHOLE, LENGTH_FIELD, 15), SLP_REFUSED_HEADER},
        {"language too long", wire_with(WHOLE, LANGUAGE_FIELD, 65535), SLP_REFUSED_HEADER},
        {"request", wire_with(WHOLE, FUNCTION_FIELD, 1), SLP_REFUSED_FUNCTION},
        {"advert", wire_with(WHOLE, FUNCTION_FIELD, WIRE_ADVERT), SLP_REFUSED_FUNCTION},
        {"other transaction", wire_with(WHOLE, XID_FIELD, WIRE_XID + 1), SLP_REFUSED_XID},
        {"no error code", wire_message(WIRE_REPLY, 0, ""), SLP_REFUSED_BODY},
        {"half an error code", wire_message(WIRE_REPLY, 0, "\5"), SLP_REFUSED_BODY},
        {"length in the count", wire_with(WHOLE, LENGTH_FIELD, 19), SLP_REFUSED_BODY},
    };
    for (const auto &c : cases)
        EXPECT_EQ(read_reply(c.message), "refused " + std::to_string(c.refused)) << c.name;
}

TEST(SlpMessage, KeepsTheEntriesBeforeTheFirstBrokenOne)
{
    const std::string auth = wire_auth("signer", "signature");
    const auto a_and = [](const std::string &entry) { return wire_reply({ENTRY_A, entry}); };
    const auto a_and_signed = [&](const std::string &blocks) {
        return a_and(wire_url("b", blocks));
    };
    const struct {
        const char *name;
        std::string message;
        const char *read;
    } cases[] = {
        {"no entries", wire_reply({}), ""},
        {"fewer announced", wire_with(WHOLE, COUNT_FIELD, 1), "a "},
        {"more announced", wire_with(WHOLE, COUNT_FIELD, 65535), "a b "},
        {"length too large", wire_with(WHOLE, LENGTH_FIELD, 0xFFFFFF), "a b "},
        {"length ends in the last entry", wire_with(WHOLE, LENGTH_FIELD, WHOLE.size() - 1), "a "},
        {"extensions behind the entries", a_and(ENTRY_B + "\x40\x02 rest"), "a b "},
        {"url longer than the message", a_and(wire_with(ENTRY_B, URL_FIELD, 65535)), "a "},
        {"url one byte too long", a_and(wire_with(ENTRY_B, URL_FIELD, 3)), "a "},
        {"signed twice", a_and_signed("\2" + auth + wire_auth("", "")), "a b "},
        {"signatures missing", a_and_signed("\2" + auth), "a "},
        {"255 signatures announced", a_and_signed("\xff" + auth), "a "},
        {"signature of length 9", a_and_signed("\1" + wire_with(auth, BLOCK_FIELD, 9)), "a "},
        {"signature of length 0", a_and_signed("\1" + wire_with(auth, BLOCK_FIELD, 0)), "a "},
        {"long signature", a_and_signed("\1" + wire_with(auth, BLOCK_FIELD, 65535)), "a "},
        {"long signer", a_and_signed("\1" + wire_with(auth, SIGNER_FIELD, 16)), "a "},
        {"overflow", wire_reply({ENTRY_A}, WIRE_OVERFLOW), "overflow a "},
        {"error alone", wire_message(WIRE_REPLY, 0, wire_number(4, 2)), "error 4"},
        {"error with urls", wire_with(WHOLE, ERROR_FIELD, 14), "error 14"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(read_reply(c.message), c.read) << c.name;
}

TEST(SlpMessage, EveryCutOfAReplyIsReadWithinItsBytes)
{
    const std::string whole =
        wire_reply({wire_url("a", "\1" + wire_auth("signer", "signature")), ENTRY_B});
    const size_t one = whole.size() - ENTRY_B.size();
    for (size_t size = 0; size <= whole.size(); ++size) {
        const char *read = size < 16             ? "refused -1"
                           : size < 20           ? "refused -4"
                           : size < one          ? ""
                           : size < whole.size() ? "a "
                                                 : "a b ";
        EXPECT_EQ(read_reply(whole.substr(0, size)), read) << size;
    }
}

TEST(SlpMessage, ReadsAdvertsOfDirectoryAgents)
{
    const std::string whole = wire_advert("service:directory-agent://a", "default,lab", 77);
    const size_t needed = whole.size() - 10; // the attributes, signers and signatures behind
    slp_da_advert advert;
    for (size_t size = 0; size <= whole.size(); ++size) {
        const std::vector<uint8_t> cut = exact_copy(whole.substr(0, size));
        EXPECT_EQ(slp_read_da_advert(cut.data(), cut.size(), WIRE_XID, &advert),
                  size < 16       ? SLP_REFUSED_HEADER
                  : size < needed ? SLP_REFUSED_BODY
                                  : 0)
            << size;
        if (size < needed)
            continue;
        EXPECT_EQ(advert.url, "service:directory-agent://a");
        EXPECT_EQ(advert.scopes, "default,lab");
        EXPECT_EQ(advert.boot_timestamp, 77U);
    }
}
