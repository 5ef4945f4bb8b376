// The SLP messages: what is sent, what is read, and what is refused.
#include "slp/agent/message.h"

#include "slp_encoder.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

/// Reads through a copy of the exact size, so that a sanitizer sees every byte read too many.
struct exact_copy {
    std::unique_ptr<uint8_t[]> bytes;
    size_t size;

    explicit exact_copy(const std::string &text)
        : bytes(new uint8_t[text.size()]), size(text.size())
    {
        std::copy(text.begin(), text.end(), bytes.get());
    }
};

std::vector<std::string> urls_of(const slp_service_reply &reply)
{
    std::vector<std::string> urls;
    for (const slp_url_entry &entry : reply.urls)
        urls.emplace_back(entry.url);
    return urls;
}

wire_header lying(int wire_header::*field, int value)
{
    wire_header header;
    header.*field = value;
    return header;
}

const std::string ENTRY_A = wire_url("service:printer:lpr://10.0.0.1/a");
const std::string ENTRY_B = wire_url("service:printer:ipp://10.0.0.2/b");
const std::string BODY = wire_entries({ENTRY_A, ENTRY_B});

} // namespace

TEST(SlpMessage, RequestIsReadBackByAnIndependentReader)
{
    const slp_request request = {"en", "service:printer", "default,lab", "(x=1)", 0xA1B2};
    const std::vector<uint8_t> built = slp_build_request(request, 0x2000, "10.0.0.1,10.0.0.2");
    const wire_request read = wire_read_request(std::string(built.begin(), built.end()));
    EXPECT_TRUE(read.valid);
    EXPECT_EQ(read.flags, 0x2000U);
    EXPECT_EQ(read.xid, 0xA1B2);
    EXPECT_EQ(read.language, "en");
    EXPECT_EQ(read.responders, "10.0.0.1,10.0.0.2");
    EXPECT_EQ(read.type, "service:printer");
    EXPECT_EQ(read.scopes, "default,lab");
    EXPECT_EQ(read.filter, "(x=1)");
    EXPECT_EQ(read.signer, "");
}

TEST(SlpMessage, RequestWithATextTooLongForItsLengthIsNotBuilt)
{
    slp_request request = {"en", "service:printer", std::string(65535, 's'), "", 1};
    const std::vector<uint8_t> longest = slp_build_request(request, 0, "");
    EXPECT_TRUE(wire_read_request(std::string(longest.begin(), longest.end())).valid);
    request.scopes += 's';
    EXPECT_TRUE(slp_build_request(request, 0, "").empty());
}

TEST(SlpMessage, RefusesWhatIsNoReplyToTheRequest)
{
    const struct {
        const char *name;
        std::string message;
        int refused;
    } cases[] = {
        {"empty", "", SLP_REFUSED_HEADER},
        {"one byte short of a header", wire_message({}, "").substr(0, 13), SLP_REFUSED_HEADER},
        {"version 1", wire_message(lying(&wire_header::version, 1), BODY), SLP_REFUSED_HEADER},
        {"length 0", wire_message(lying(&wire_header::length, 0), BODY), SLP_REFUSED_HEADER},
        {"length ends in the header", wire_message(lying(&wire_header::length, 13), BODY),
         SLP_REFUSED_HEADER},
        {"length ends in the language", wire_message(lying(&wire_header::length, 15), BODY),
         SLP_REFUSED_HEADER},
        {"language longer than the message",
         wire_message(lying(&wire_header::language_length, 65535), BODY), SLP_REFUSED_HEADER},
        {"request", wire_message(lying(&wire_header::function, 1), BODY), SLP_REFUSED_FUNCTION},
        {"advert", wire_advert("service:directory-agent://10.0.0.9", "default", WIRE_XID),
         SLP_REFUSED_FUNCTION},
        {"other transaction", wire_reply({"service:printer:lpr://10.0.0.1"}, WIRE_XID + 1),
         SLP_REFUSED_XID},
        {"no error code", wire_message({}, ""), SLP_REFUSED_BODY},
        {"half an error code", wire_message({}, std::string(1, '\5')), SLP_REFUSED_BODY},
        {"half a count", wire_message({}, std::string(3, '\0')), SLP_REFUSED_BODY},
        {"length ends in the count", wire_message(lying(&wire_header::length, 19), BODY),
         SLP_REFUSED_BODY},
    };
    for (const auto &c : cases) {
        const exact_copy copy(c.message);
        slp_service_reply reply;
        EXPECT_EQ(slp_read_service_reply(copy.bytes.get(), copy.size, WIRE_XID, &reply), c.refused)
            << c.name;
        EXPECT_TRUE(reply.urls.empty()) << c.name;
    }
}

TEST(SlpMessage, KeepsTheEntriesBeforeTheFirstBrokenOne)
{
    const std::string url = "service:printer:lpr://10.0.0.3/c";
    const std::string auth = wire_auth("signer", "signature");
    const wire_header true_length;
    const wire_header long_length = lying(&wire_header::length, 0xFFFFFF);
    const auto reply_of = [&](const std::string &last) {
        return wire_message(true_length, wire_entries({ENTRY_A, last}));
    };
    const struct {
        const char *name;
        std::string message;
        size_t whole;
    } cases[] = {
        {"none announced", wire_message(true_length, wire_entries({})), 0},
        {"whole", reply_of(ENTRY_B), 2},
        {"extensions behind the entries", reply_of(ENTRY_B + "\x40\x02 rest"), 2},
        {"fewer announced", wire_message(true_length, wire_entries({ENTRY_A, ENTRY_B}, 1)), 1},
        {"more announced", wire_message(true_length, wire_entries({ENTRY_A, ENTRY_B}, 65535)), 2},
        {"length too large", wire_message(long_length, wire_entries({ENTRY_A, ENTRY_B})), 2},
        {"length ends in the last entry", wire_message(lying(&wire_header::length, 70), BODY), 1},
        {"last entry cut before its signature count",
         reply_of(ENTRY_B.substr(0, ENTRY_B.size() - 1)), 1},
        {"url longer than the message", reply_of(wire_url(url, {}, -1, 65535)), 1},
        {"url one byte longer than the message", reply_of(wire_url(url, {}, -1, 34)), 1},
        {"signed twice", reply_of(wire_url(url, {auth, wire_auth("", "")})), 2},
        {"signatures missing", reply_of(wire_url(url, {auth}, 2)), 1},
        {"255 signatures announced", reply_of(wire_url(url, {auth}, 255)), 1},
        {"signature shorter than its own fields", reply_of(wire_url(url, {wire_auth("", "", 9)})),
         1},
        {"signature of length 0", reply_of(wire_url(url, {wire_auth("", "", 0)})), 1},
        {"signature longer than the message", reply_of(wire_url(url, {wire_auth("", "", 65535)})),
         1},
        {"signer longer than the signature", reply_of(wire_url(url, {wire_auth("s", "t", -1, 3)})),
         1},
    };
    for (const auto &c : cases) {
        const exact_copy copy(c.message);
        slp_service_reply reply;
        EXPECT_EQ(slp_read_service_reply(copy.bytes.get(), copy.size, WIRE_XID, &reply), 0)
            << c.name;
        EXPECT_EQ(reply.urls.size(), c.whole) << c.name;
        if (c.whole > 0 && !reply.urls.empty()) {
            EXPECT_EQ(urls_of(reply)[0], "service:printer:lpr://10.0.0.1/a") << c.name;
            EXPECT_EQ(reply.urls[0].lifetime, 300) << c.name;
        }
    }
}

TEST(SlpMessage, EveryCutOfAReplyIsReadWithinItsBytes)
{
    const std::string whole =
        wire_message({}, wire_entries({wire_url("service:printer:lpr://10.0.0.1/a",
                                                {wire_auth("signer", "signature")}),
                                       ENTRY_B}));
    for (size_t size = 0; size <= whole.size(); ++size) {
        const exact_copy copy(whole.substr(0, size));
        slp_service_reply reply;
        const int refused = slp_read_service_reply(copy.bytes.get(), copy.size, WIRE_XID, &reply);
        EXPECT_EQ(refused == 0, size >= 20) << size;
        const size_t first_end = whole.size() - ENTRY_B.size();
        EXPECT_EQ(reply.urls.size(), size == whole.size() ? 2U
                                     : size >= first_end  ? 1U
                                                          : 0U)
            << size;
    }
}

TEST(SlpMessage, ErrorCodeAndOverflowAreReported)
{
    slp_service_reply reply;
    const exact_copy error(wire_error(4, WIRE_XID));
    ASSERT_EQ(slp_read_service_reply(error.bytes.get(), error.size, WIRE_XID, &reply), 0);
    EXPECT_EQ(reply.error_code, 4);
    const exact_copy with_urls(wire_message({}, wire_entries({ENTRY_A}, -1, 14)));
    ASSERT_EQ(slp_read_service_reply(with_urls.bytes.get(), with_urls.size, WIRE_XID, &reply), 0);
    EXPECT_EQ(reply.error_code, 14);
    EXPECT_TRUE(reply.urls.empty());
    const exact_copy overflow(wire_reply({"service:printer:x://a"}, WIRE_XID, WIRE_OVERFLOW));
    ASSERT_EQ(slp_read_service_reply(overflow.bytes.get(), overflow.size, WIRE_XID, &reply), 0);
    EXPECT_TRUE(reply.overflow);
    EXPECT_EQ(urls_of(reply), std::vector<std::string>{"service:printer:x://a"});
}

TEST(SlpMessage, ReadsAdvertsOfDirectoryAgents)
{
    const std::string url = "service:directory-agent://10.0.0.9";
    const std::string whole = wire_advert(url, "default,lab", WIRE_XID, 77);
    const size_t needed = whole.size() - 10; // the attributes, signers and signatures behind
    for (size_t size = 0; size <= whole.size(); ++size) {
        const exact_copy copy(whole.substr(0, size));
        slp_da_advert advert;
        const int refused = slp_read_da_advert(copy.bytes.get(), copy.size, WIRE_XID, &advert);
        EXPECT_EQ(refused, size < 16       ? SLP_REFUSED_HEADER
                           : size < needed ? SLP_REFUSED_BODY
                                           : 0)
            << size;
    }
    const exact_copy copy(whole);
    slp_da_advert advert;
    EXPECT_EQ(slp_read_da_advert(copy.bytes.get(), copy.size, 1, &advert), SLP_REFUSED_XID);
    ASSERT_EQ(slp_read_da_advert(copy.bytes.get(), copy.size, WIRE_XID, &advert), 0);
    EXPECT_EQ(advert.url, url);
    EXPECT_EQ(advert.scopes, "default,lab");
    EXPECT_EQ(advert.boot_timestamp, 77U);
    const exact_copy error(wire_advert(url, "default", WIRE_XID, 77, 3));
    ASSERT_EQ(slp_read_da_advert(error.bytes.get(), error.size, WIRE_XID, &advert), 0);
    EXPECT_EQ(advert.error_code, 3);
    EXPECT_EQ(advert.url, "");
}
