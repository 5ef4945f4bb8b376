// The process's log file under /tmp: off unless a configuration file switches it on.
//
// Lines without a level, arguments, buffering and a log without a configuration file are for those
// who put a record into a build of their own while they look for a fault: nothing calls them here.
#pragma once

#include "config/paths.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>

/// A level word: the low 4 bits are the verbosity, the bits above them categories.
constexpr int LOG_VERBOSITY_MASK = 0x0F;
constexpr int LOG_LEVEL_INFO = 1;  ///< start and exit of a process
constexpr int LOG_LEVEL_TRACE = 2; ///< every step worth following
constexpr int LOG_LEVEL_DUMP = 3;  ///< the bytes of what was received

extern FILE *log_stream;         ///< the open log; nullptr: logging is off
extern int log_level;            ///< threshold: verbosity and enabled categories
extern int log_flush_mode;       ///< nonzero: flush after every record
extern char log_path[PATH_SIZE]; ///< path of the open log file

/// Opens the log of the process: reads "/tmp/NAME.lcf" (NAME: the text after the last "/" of
/// `name`) and opens the log file that it describes. Without that file logging stays off,
/// silently. A log file that cannot be opened, or is not a regular file of the process's own user
/// with one link, is reported on standard error. A log that is already open is replaced, not
/// closed.
void log_open(const char *name);

/// Sets the threshold and opens the log file `path`, truncated; no configuration file is read.
/// Fails as `log_open` does.
void log_open_file(int level, const char *path);

/// Closes the log, and deletes its file if it stayed empty.
void log_close();

/// At-exit handler: writes the closing record with the time, then closes the log.
void log_cleanup();

/// Writes a record when `level` passes the threshold; formats bring their own line feed.
/// Returns the characters written, 0 when the record was filtered out or no log is open.
int log_printf(int level, const char *format, ...) __attribute__((format(printf, 2, 3)));
int log_vprintf(int level, const char *format, va_list arguments)
    __attribute__((format(printf, 2, 0)));

/// Writes a trace record: the time, ":" and the message. Returns the characters of the message.
int log_trace(const char *format, ...) __attribute__((format(printf, 1, 2)));

/// Writes the text and a line feed, whatever the threshold. Returns the characters written.
int log_line(const char *format, ...) __attribute__((format(printf, 1, 2)));

/// Writes the record "argv[%d]=<%s>\n" for each of `count` arguments.
void log_argv(int level, int count, const char *const *arguments);

/// Sets the buffering of the log stream as `setvbuf` does, whose result it returns; 0 when no log
/// is open. `buffer` must live until the log is closed.
int log_setvbuf(char *buffer, int mode, size_t size);

/// Hex dump into the log, with a title unless `title` is nullptr. Returns the result of
/// `xdump_to`, 0 when no log is open.
int log_xdump(const void *data, int length, const char *title);
