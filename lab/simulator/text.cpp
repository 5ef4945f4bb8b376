// Small text helpers of the simulator: numbers, hexadecimal bytes, lists, substitution.
#include "simulator/text.h"

#include <cctype>
#include <charconv>
#include <strings.h>

long text_to_number(std::string_view text, long largest)
{
    long number = -1;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < 0 || number > largest)
        return -1;
    return number;
}

int text_from_hex(std::string_view text, std::string &bytes)
{
    bytes.clear();
    if (text.size() % 2 != 0)
        return -1;
    for (size_t i = 0; i < text.size(); i += 2) {
        unsigned value = 0;
        const char *end = text.data() + i + 2;
        const auto [stop, error] = std::from_chars(text.data() + i, end, value, 16);
        if (error != std::errc() || stop != end)
            return -1;
        bytes += static_cast<char>(value);
    }
    return 0;
}

std::string text_to_hex(std::string_view bytes)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += DIGITS[value >> 4];
        text += DIGITS[value & 0xF];
    }
    return text;
}

std::string text_replace_all(std::string text, std::string_view mark, std::string_view value)
{
    for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
        text.replace(at, mark.size(), value);
        at += value.size();
    }
    return text;
}

std::vector<std::string> text_split_list(std::string_view list)
{
    std::vector<std::string> items;
    while (!list.empty()) {
        const size_t comma = list.find(',');
        std::string_view item = list.substr(0, comma);
        list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
        while (!item.empty() && isspace(static_cast<unsigned char>(item.front())) != 0)
            item.remove_prefix(1);
        while (!item.empty() && isspace(static_cast<unsigned char>(item.back())) != 0)
            item.remove_suffix(1);
        if (!item.empty())
            items.emplace_back(item);
    }
    return items;
}

bool text_equal_ignoring_case(std::string_view one, std::string_view other)
{
    return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}
