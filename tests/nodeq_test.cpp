// The nodeq answer: its fields, and what a record keeps of several answers.
#include "nodeq/nodeq_packet.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{

std::string padded(std::string text, size_t width)
{
    text.resize(width, '\0');
    return text;
}

std::string answer(const std::string &a, const std::string &b)
{
    return std::string(7, '\xee') + padded(a, 20) + padded(b, 20);
}

void receive(device_record *record, const std::string &datagram)
{
    device_record scratch = {};
    nodeq_parse_answer(reinterpret_cast<const uint8_t *>(datagram.data()), datagram.size(),
                       0x0A000005, &scratch);
    nodeq_merge_answer(record, &scratch);
}

} // namespace

TEST(NodeqAnswer, ReadsFieldsWithinTheDatagram)
{
    const std::string twenty = "abcdefghijklmnopqrst";
    const struct {
        std::string datagram;
        const char *text_a;
        const char *text_b;
        const char *dsc;
    } cases[] = {
        {answer("ABC", "XYZ"), "ABC", "XYZ", "#[ABC] XYZ"},
        {answer("ABC", ""), "ABC", "", "#[ABC]"},
        {answer("", "XYZ"), "", "XYZ", "#XYZ"},
        {answer("", ""), "", "", ""},
        {answer(twenty, twenty) + "more", "abcdefghijklmnopqrs", "abcdefghijklmnopqrs",
         "#[abcdefghijklmnopqrs] abcdefghijklmnopqrs"},
        {answer("ABC", twenty).substr(0, 46), "ABC", "abcdefghijklmnopqrs",
         "#[ABC] abcdefghijklmnopqrs"},
        {answer("ABC", "XYZ").substr(0, 29), "ABC", "XY", "#[ABC] XY"},
        {answer("ABC", "XYZ").substr(0, 9), "AB", "", "#[AB]"},
        {std::string(7, 'x'), "", "", ""},
        {std::string(256, 'x'), "xxxxxxxxxxxxxxxxxxx", "xxxxxxxxxxxxxxxxxxx",
         "#[xxxxxxxxxxxxxxxxxxx] xxxxxxxxxxxxxxxxxxx"},
        {"abc", "", "", ""},
        {"", "", "", ""},
    };
    for (const auto &c : cases) {
        device_record record = {};
        receive(&record, c.datagram);
        EXPECT_STREQ(record.nodeq_text_a, c.text_a);
        EXPECT_STREQ(record.nodeq_text_b, c.text_b);
        EXPECT_STREQ(record.dsc, c.dsc);
        EXPECT_EQ(record.nodeq_detected, 1);
    }
}

TEST(NodeqAnswer, KeepsTheFirstDescriptionAndTheLatestTexts)
{
    const struct {
        std::string first;
        const char *dsc;
    } cases[] = {{answer("A1", "B1"), "#[A1] B1"}, {answer("", ""), ""}};
    for (const auto &c : cases) {
        device_record record = {};
        receive(&record, c.first);
        receive(&record, answer("A2", ""));
        EXPECT_STREQ(record.dsc, c.dsc);
        EXPECT_STREQ(record.nodeq_text_a, "A2");
        EXPECT_STREQ(record.nodeq_text_b, "");
    }
}

TEST(NodeqAnswer, FillsOnlyTheRoomThatIsLeft)
{
    device_record record = {};
    memset(record.dsc, 'x', 90);
    receive(&record, answer("ABC", "XYZ"));
    EXPECT_EQ(std::string(record.dsc), std::string(90, 'x') + "#[ABC");
}
