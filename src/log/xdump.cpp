// Hex dumps: offset, byte values and characters, 16 bytes per line.
#include "log/xdump.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr int BYTES_PER_LINE = 16;
constexpr int BYTES_PER_GROUP = 4;
constexpr int HEX_COLUMNS = 52; ///< from the end of the offset's blanks to the character column

/// The offset takes at least six digits; the longest, of eight, moves the rest of the line right.
constexpr size_t LINE_SIZE = 8 + 2 + HEX_COLUMNS + BYTES_PER_LINE + 1;

void dump_line(FILE *stream, const unsigned char *bytes, int offset, int count)
{
    char line[LINE_SIZE];
    const int start = snprintf(line, sizeof line, "%06x  ", static_cast<unsigned>(offset));
    char *hex = line + start;
    char *characters = hex + HEX_COLUMNS;
    memset(hex, ' ', HEX_COLUMNS);
    for (int i = 0; i < count; ++i) {
        static constexpr char DIGITS[] = "0123456789abcdef";
        hex[0] = DIGITS[bytes[i] >> 4];
        hex[1] = DIGITS[bytes[i] & 0x0F];
        hex += (i + 1) % BYTES_PER_GROUP == 0 ? 4 : 3;
        const bool printable = bytes[i] >= 32 && bytes[i] <= 126;
        characters[i] = printable ? static_cast<char>(bytes[i]) : '.';
    }
    characters[count] = '\0';
    fprintf(stream, "%s\n", line);
}

} // namespace

int xdump_to(FILE *stream, const void *data, int length, const char *title)
{
    if (stream == nullptr)
        return -1;
    if (title != nullptr)
        fprintf(stream, "\n%s begin {\n", title);
    const auto *bytes = static_cast<const unsigned char *>(data);
    for (int remaining = length; remaining > 0; remaining -= BYTES_PER_LINE) {
        const int offset = length - remaining;
        dump_line(stream, bytes + offset, offset, std::min(remaining, BYTES_PER_LINE));
    }
    if (title != nullptr)
        fprintf(stream, "%s end   }\n\n", title);
    return 0;
}

int xdump(const void *data, int length)
{
    return xdump_to(stdout, data, length, nullptr);
}

int xdump_titled(const void *data, int length, const char *title)
{
    return xdump_to(stdout, data, length, title);
}
