// ASN.1 basic encoding, as far as SNMP needs it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

constexpr uint8_t BER_INTEGER = 0x02;
constexpr uint8_t BER_OCTET_STRING = 0x04;
constexpr uint8_t BER_NULL = 0x05;
constexpr uint8_t BER_OBJECT_ID = 0x06;
constexpr uint8_t BER_SEQUENCE = 0x30;

struct ber_element {
    uint8_t tag = 0;
    std::string_view content;
};

/// Takes the first element off `rest`. Returns 0, or -1 when no whole element is there.
int ber_take(std::string_view &rest, ber_element &element);

/// Takes an element that must have the tag. Returns 0, or -1.
int ber_take_tagged(std::string_view &rest, uint8_t tag, std::string_view &content);

/// Takes an INTEGER of at most eight bytes. Returns 0, or -1.
int ber_take_integer(std::string_view &rest, int64_t &value);

/// An element with the tag and the content.
std::string ber_encode(uint8_t tag, std::string_view content);

/// An INTEGER in the fewest bytes.
std::string ber_encode_integer(int64_t value);
