// What is to be seen on a terminal.
#pragma once

#include <algorithm>
#include <string>

inline std::string without_end_blanks(const std::string &line)
{
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

/// What stands there in the end when this was written, without blanks at the ends of lines. An
/// empty last line is left out.
inline std::string screen(const std::string &written)
{
    std::string text;
    std::string line;
    size_t column = 0;
    for (const char c : written) {
        if (c == '\n') {
            text += without_end_blanks(line) + "\n";
            line.clear();
        } else if (c == '\r') {
            column = 0;
        } else {
            line.resize(std::max(line.size(), column + 1), ' ');
            line[column++] = c;
        }
    }
    const std::string last = without_end_blanks(line);
    return last.empty() ? text : text + last + "\n";
}
