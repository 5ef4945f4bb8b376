// Texts from elsewhere, made safe to print.
#include "config/printable.h"

#include <cstdint>
#include <cstring>

namespace
{

struct code_range {
    uint32_t first;
    uint32_t last;
};

/// Characters of several bytes that come out as blanks.
constexpr code_range BLANKED[] = {
    {0x80, 0x9F},     // control characters, the next line and the terminals' CSI among them
    {0x2028, 0x2029}, // line and paragraph separator
    {0x202A, 0x202E}, // embeddings and overrides of the writing direction
    {0x2066, 0x2069}, // isolates of the writing direction
};

/// The forms of characters of several bytes in UTF-8.
struct utf8_form {
    uint8_t mask; ///< of the first byte
    uint8_t lead; ///< what it holds under the mask
    size_t length;
    uint32_t smallest; ///< a smaller character in this form is overlong, and not valid
};

constexpr utf8_form FORMS[] = {
    {0xE0, 0xC0, 2, 0x80},
    {0xF0, 0xE0, 3, 0x800},
    {0xF8, 0xF0, 4, 0x10000},
};
constexpr uint32_t LARGEST_CHARACTER = 0x10FFFF;
constexpr code_range SURROGATES = {0xD800, 0xDFFF};

bool is_within(uint32_t character, const code_range &range)
{
    return character >= range.first && character <= range.last;
}

/// Reads the character of several bytes that `text` begins with. Returns its length in bytes, or 0
/// when there is no valid one.
size_t read_character(const char *text, uint32_t *character)
{
    const auto first = static_cast<uint8_t>(text[0]);
    for (const utf8_form &form : FORMS) {
        if ((first & form.mask) != form.lead)
            continue;
        *character = first & static_cast<uint8_t>(~form.mask);
        for (size_t i = 1; i < form.length; ++i) {
            const auto next = static_cast<uint8_t>(text[i]);
            if ((next & 0xC0) != 0x80) // the text's end too
                return 0;
            *character = *character << 6 | (next & 0x3F);
        }
        const bool valid = *character >= form.smallest && *character <= LARGEST_CHARACTER &&
                           !is_within(*character, SURROGATES);
        return valid ? form.length : 0;
    }
    return 0;
}

bool is_blanked(uint32_t character)
{
    for (const code_range &range : BLANKED) {
        if (is_within(character, range))
            return true;
    }
    return false;
}

/// Whether a byte that belongs to no character of several bytes is a control byte.
bool is_control_byte(char c)
{
    const auto byte = static_cast<uint8_t>(c);
    return byte < 0x20 || byte == 0x7F || (byte >= 0x80 && byte <= 0x9F);
}

} // namespace

char *printable_text(char *destination, const char *text, size_t size)
{
    size_t written = 0;
    while (*text != '\0') {
        uint32_t character = 0;
        const size_t sequence = read_character(text, &character);
        const bool blank = sequence > 0 ? is_blanked(character) : is_control_byte(*text);
        const size_t length = sequence > 0 ? sequence : 1;
        if (written + length >= size)
            break;
        if (blank)
            memset(destination + written, ' ', length);
        else
            memcpy(destination + written, text, length);
        written += length;
        text += length;
    }
    if (size > 0)
        destination[written] = '\0';
    return destination;
}
