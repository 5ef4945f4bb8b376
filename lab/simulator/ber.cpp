// ASN.1 basic encoding, as far as SNMP needs it.
#include "simulator/ber.h"

constexpr uint8_t LONG_LENGTH = 0x80;

int ber_take(std::string_view &rest, ber_element &element)
{
    if (rest.size() < 2)
        return -1;
    element.tag = static_cast<uint8_t>(rest[0]);
    size_t length = static_cast<uint8_t>(rest[1]);
    size_t head = 2;
    if (length >= LONG_LENGTH) {
        const size_t digits = length - LONG_LENGTH;
        if (digits == 0 || digits > 4 || rest.size() < head + digits)
            return -1;
        length = 0;
        for (size_t i = 0; i < digits; ++i)
            length = length << 8 | static_cast<uint8_t>(rest[head++]);
    }
    if (rest.size() - head < length)
        return -1;
    element.content = rest.substr(head, length);
    rest.remove_prefix(head + length);
    return 0;
}

int ber_take_tagged(std::string_view &rest, uint8_t tag, std::string_view &content)
{
    ber_element element;
    if (ber_take(rest, element) != 0 || element.tag != tag)
        return -1;
    content = element.content;
    return 0;
}

int ber_take_integer(std::string_view &rest, int64_t &value)
{
    std::string_view content;
    if (ber_take_tagged(rest, BER_INTEGER, content) != 0 || content.empty() || content.size() > 8)
        return -1;
    uint64_t bits = static_cast<int8_t>(content[0]) < 0 ? UINT64_MAX : 0;
    for (const char byte : content)
        bits = bits << 8 | static_cast<uint8_t>(byte);
    value = static_cast<int64_t>(bits);
    return 0;
}

std::string ber_encode(uint8_t tag, std::string_view content)
{
    std::string length;
    for (size_t rest = content.size(); rest > 0; rest >>= 8)
        length.insert(length.begin(), static_cast<char>(rest & 0xFF));
    std::string element(1, static_cast<char>(tag));
    if (content.size() < LONG_LENGTH)
        element += static_cast<char>(content.size());
    else
        element += static_cast<char>(LONG_LENGTH | length.size()) + length;
    element += content;
    return element;
}

std::string ber_encode_integer(int64_t value)
{
    std::string content;
    int64_t rest = value;
    do {
        content.insert(content.begin(), static_cast<char>(rest & 0xFF));
        rest >>= 8;
    } while (rest != (static_cast<int8_t>(content[0]) < 0 ? -1 : 0));
    return ber_encode(BER_INTEGER, content);
}
