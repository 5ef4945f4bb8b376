// Reading a file or a command's output line by line.
#pragma once

/// Results of `for_each_line` besides 0 and what the callback returned.
constexpr int LINES_NOT_OPENED = -1;
constexpr int LINES_READ_ERROR = -2;
constexpr int LINES_BAD_ARGUMENT = -3;

/// Takes one line, its line feed included, and the reader's context. Returns 0 to go on.
using line_callback = int (*)(const char *line, void *context);

/// Calls `callback` for each line of a source: "exec:" and a shell command, or else a file's path.
/// A line of more than 1023 characters comes in pieces. Returns 0 at the end of the input, one of
/// the results above, or the callback's result that stopped the reading, with -3, -2, -1 and 1
/// all turned into 1.
int for_each_line(const char *source, line_callback callback, void *context);
