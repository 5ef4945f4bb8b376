// Texts from elsewhere, made safe to print.
#include "config/printable.h"

#include "config/utf8.h"

#include <cstdint>
#include <cstring>

namespace
{

struct code_range {
    uint32_t first;
    uint32_t last;
};

/// Characters that come out as blanks, one for each of their bytes.
constexpr code_range BLANKED[] = {
    {0x00, 0x1F},     {0x7F, 0x7F},
    {0x80, 0x9F},     // control characters, the next line and the terminals' CSI among them
    {0x2028, 0x2029}, // line and paragraph separator
    {0x202A, 0x202E}, // embeddings and overrides of the writing direction
    {0x2066, 0x2069}, // isolates of the writing direction
};

constexpr uint32_t FIRST_LATIN1 = 0xA0; ///< below it are ASCII and control characters

bool is_within(uint32_t character, const code_range &range)
{
    return character >= range.first && character <= range.last;
}

bool is_blanked(uint32_t character)
{
    for (const code_range &range : BLANKED) {
        if (is_within(character, range))
            return true;
    }
    return false;
}

/// Writes one character, or the byte that is none, as it is printed: at most 4 bytes. Returns their
/// number.
size_t print_character(const char *text, size_t length, uint32_t character, char *output)
{
    if (is_blanked(character)) {
        memset(output, ' ', length);
        return length;
    }
    if (length == 1 && character >= FIRST_LATIN1) {
        output[0] = static_cast<char>(0xC0 | character >> 6);
        output[1] = static_cast<char>(0x80 | (character & 0x3F));
        return 2;
    }
    memcpy(output, text, length);
    return length;
}

} // namespace

char *printable_text(char *destination, const char *text, size_t size)
{
    const char *const end = text + utf8_uncut(text, strlen(text));
    size_t written = 0;
    while (text < end) {
        uint32_t character = 0;
        int length = utf8_read(text, static_cast<size_t>(end - text), &character);
        if (length <= 0) {
            character = static_cast<uint8_t>(*text);
            length = 1;
        }
        char output[4];
        const size_t bytes = print_character(text, static_cast<size_t>(length), character, output);
        if (written + bytes >= size)
            break;
        memcpy(destination + written, output, bytes);
        written += bytes;
        text += length;
    }
    if (size > 0)
        destination[written] = '\0';
    return destination;
}
