// Bounded copies and small changes of plain C texts.
#include "config/text.h"

#include "config/utf8.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr size_t SHARED_TEXT_SIZE = 1024;

char *copy_converted(const char *source, char *destination, size_t size, int (*convert)(int))
{
    if (size == 0)
        return destination;
    size_t i = 0;
    for (; i + 1 < size && source[i] != '\0'; ++i)
        destination[i] = static_cast<char>(convert(static_cast<unsigned char>(source[i])));
    destination[i] = '\0';
    return destination;
}

} // namespace

char *safe_strncpy(char *destination, const char *source, size_t size)
{
    if (size == 0)
        return destination;
    strncpy(destination, source, size);
    destination[size - 1] = '\0';
    return destination;
}

char *copy_part(char *destination, const char *source, size_t length, size_t size)
{
    if (size == 0)
        return destination;
    const size_t fitting = utf8_fitting(source, length, size - 1);
    memcpy(destination, source, fitting);
    destination[fitting] = '\0';
    return destination;
}

void append_text(char *destination, const char *tail, size_t size)
{
    const size_t length = strnlen(destination, size);
    copy_part(destination + length, tail, strlen(tail), size - length);
}

bool begins_with(const char *text, const char *prefix)
{
    return strncmp(text, prefix, strlen(prefix)) == 0;
}

char *strip_newline(char *text)
{
    const size_t length = strlen(text);
    if (length > 0 && text[length - 1] == '\n')
        text[length - 1] = '\0';
    return text;
}

char *str_tolower(const char *source, char *destination, size_t size)
{
    return copy_converted(source, destination, size, tolower);
}

char *str_toupper(const char *source, char *destination, size_t size)
{
    return copy_converted(source, destination, size, toupper);
}

char *str_tolower_static(const char *source)
{
    static char lowered[SHARED_TEXT_SIZE];
    return str_tolower(source, lowered, sizeof lowered);
}

char *str_toupper_static(const char *source)
{
    static char raised[SHARED_TEXT_SIZE];
    return str_toupper(source, raised, sizeof raised);
}

int decimal_value(const char *text)
{
    return static_cast<int32_t>(strtoll(text, nullptr, 10));
}
