// UTF-8: its characters, and where a text may be cut.
#include "config/utf8.h"

#include <algorithm>

namespace
{

/// The forms of characters in UTF-8.
struct utf8_form {
    uint8_t mask;      ///< of the first byte
    uint8_t lead;      ///< what it holds under the mask
    int length;        ///< in bytes
    uint32_t smallest; ///< a smaller character in this form is overlong, and not valid
    uint32_t largest;
};

constexpr utf8_form FORMS[] = {
    {0x80, 0x00, 1, 0, 0x7F},
    {0xE0, 0xC0, 2, 0x80, 0x7FF},
    {0xF0, 0xE0, 3, 0x800, 0xFFFF},
    {0xF8, 0xF0, 4, 0x10000, 0x10FFFF},
};
constexpr uint32_t FIRST_SURROGATE = 0xD800; ///< halves of UTF-16's pairs are no characters
constexpr uint32_t LAST_SURROGATE = 0xDFFF;
constexpr int ERASED_BYTES = 4; ///< of 0xFF, in a row: no text that was ever set

/// Whether a valid character of the form lies from `first` to `last`.
bool holds_character(const utf8_form &form, uint32_t first, uint32_t last)
{
    const bool within = last >= form.smallest && first <= form.largest;
    return within && (first < FIRST_SURROGATE || last > LAST_SURROGATE);
}

bool is_utf8(const uint8_t *bytes, size_t length)
{
    const auto *text = reinterpret_cast<const char *>(bytes);
    size_t at = 0;
    while (at < length) {
        uint32_t character = 0;
        const int read = utf8_read(text + at, length - at, &character);
        if (read <= 0)
            return read == UTF8_CUT;
        at += static_cast<size_t>(read);
    }
    return true;
}

bool is_latin1(const uint8_t *bytes, size_t length)
{
    const uint8_t *const end = bytes + length;
    return std::none_of(bytes, end, [](uint8_t byte) { return byte >= 0x80 && byte <= 0x9F; }) &&
           std::search_n(bytes, end, ERASED_BYTES, 0xFF) == end;
}

bool is_control(uint8_t byte)
{
    const bool layout = byte == '\t' || byte == '\n' || byte == '\r';
    return (byte < 0x20 && !layout) || byte == 0x7F;
}

} // namespace

int utf8_read(const char *text, size_t length, uint32_t *character)
{
    const auto first = static_cast<uint8_t>(text[0]);
    for (const utf8_form &form : FORMS) {
        if ((first & form.mask) != form.lead)
            continue;
        uint32_t value = first & static_cast<uint8_t>(~form.mask);
        const int present = static_cast<int>(std::min(static_cast<size_t>(form.length), length));
        for (int i = 1; i < present; ++i) {
            const auto next = static_cast<uint8_t>(text[i]);
            if ((next & 0xC0) != 0x80)
                return 0;
            value = value << 6 | (next & 0x3F);
        }
        // The missing bytes stand for 6 bits each.
        const int missing_bits = 6 * (form.length - present);
        const uint32_t last = ((value + 1) << missing_bits) - 1;
        *character = value << missing_bits;
        if (!holds_character(form, *character, last))
            return 0;
        return missing_bits > 0 ? UTF8_CUT : form.length;
    }
    return 0;
}

size_t utf8_fitting(const char *text, size_t length, size_t room)
{
    if (length <= room)
        return length;
    size_t fitting = 0;
    while (fitting < room) {
        uint32_t character = 0;
        const int bytes = utf8_read(text + fitting, length - fitting, &character);
        const size_t next = fitting + static_cast<size_t>(std::max(bytes, 1));
        if (next > room)
            break;
        fitting = next;
    }
    return fitting;
}

size_t utf8_uncut(const char *text, size_t length)
{
    bool foreign = false;
    size_t at = 0;
    while (at < length) {
        uint32_t character = 0;
        const int bytes = utf8_read(text + at, length - at, &character);
        if (bytes == UTF8_CUT)
            return foreign ? length : at;
        foreign = foreign || bytes == 0;
        at += static_cast<size_t>(std::max(bytes, 1));
    }
    return length;
}

bool is_text(const uint8_t *bytes, size_t length)
{
    return std::none_of(bytes, bytes + length, is_control) &&
           (is_utf8(bytes, length) || is_latin1(bytes, length));
}
