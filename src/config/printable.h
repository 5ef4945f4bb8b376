// Texts from elsewhere, made safe to print.
#pragma once

#include <cstddef>

/// What `printable_text` needs for every character of a field of `size` bytes.
constexpr size_t printable_size(size_t size)
{
    return 2 * size;
}

/// Copies `text` into `destination` as valid UTF-8, cut to whole characters in `size` - 1 bytes and
/// always terminated. UTF-8 passes, but for a character that the end of the text cuts off; any
/// other byte from 0xA0 on is the Latin-1 letter that it may be. A blank stands for each byte that
/// could break the line in two, turn it round or reach the terminal: control bytes; in UTF-8 the
/// control characters U+0080 to U+009F, the line and paragraph separators and the marks of writing
/// direction; and a byte from 0x80 to 0x9F outside UTF-8, a control byte of the 8-bit character
/// sets. Returns `destination`.
char *printable_text(char *destination, const char *text, size_t size);
