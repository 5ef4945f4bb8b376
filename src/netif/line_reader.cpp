// Reading a file or a command's output line by line.
#include "netif/line_reader.h"

#include "config/text.h"

#include <cstddef>
#include <cstdio>
#include <cstring>

namespace
{

constexpr char COMMAND_PREFIX[] = "exec:";
constexpr size_t LINE_SIZE = 1024;

/// What the reader's own results are told apart from.
int callback_result(int result)
{
    return result >= LINES_BAD_ARGUMENT && result < 0 ? 1 : result;
}

int read_lines(FILE *stream, line_callback callback, void *context)
{
    char line[LINE_SIZE];
    while (fgets(line, sizeof line, stream) != nullptr) {
        const int result = callback(line, context);
        if (result != 0)
            return callback_result(result);
    }
    return ferror(stream) != 0 ? LINES_READ_ERROR : 0;
}

} // namespace

int for_each_line(const char *source, line_callback callback, void *context)
{
    if (source == nullptr || callback == nullptr)
        return LINES_BAD_ARGUMENT;
    const bool command = begins_with(source, COMMAND_PREFIX);
    FILE *stream = command ? popen(source + strlen(COMMAND_PREFIX), "re") : fopen(source, "re");
    if (stream == nullptr)
        return LINES_NOT_OPENED;
    const int result = read_lines(stream, callback, context);
    if (command)
        pclose(stream);
    else
        fclose(stream);
    return result;
}
