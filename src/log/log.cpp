// The process's log file under /tmp: off unless a configuration file switches it on.
#include "log/log.h"

#include "config/text.h"
#include "io/stream.h"
#include "log/timestamp.h"
#include "log/xdump.h"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

FILE *log_stream = nullptr;
int log_level = 0;
int log_flush_mode = 0;
char log_path[PATH_SIZE];

namespace
{

constexpr int DEFAULT_LOG_LEVEL = LOG_LEVEL_TRACE;
constexpr size_t LINE_SIZE = 4096;
constexpr mode_t LOG_FILE_MODE = 0666; // less the process's umask

struct log_config {
    int append_mode = 0;
    int flush_mode = log_flush_mode;
    int log_level = DEFAULT_LOG_LEVEL;
    int use_pid = 0;
    int use_timestamp = 0;
};

struct config_key {
    const char *name;
    int log_config::*field;
    bool is_switch; ///< any number but 0 counts as 1
};

constexpr config_key KEYS[] = {
    {"APPEND_MODE", &log_config::append_mode, true},
    {"FLUSH_MODE", &log_config::flush_mode, true},
    {"LOG_LEVEL", &log_config::log_level, false},
    {"USE_PID", &log_config::use_pid, true},
    {"USE_TIMESTAMP", &log_config::use_timestamp, true},
};

/// A key counts when the line begins with its name; what follows up to "=" plays no part.
void read_config_line(const char *line, log_config *config)
{
    const char *equals = strchr(line, '=');
    if (equals == nullptr)
        return;
    for (const config_key &key : KEYS) {
        if (begins_with(line, key.name)) {
            const int value = decimal_value(equals + 1);
            config->*key.field = key.is_switch && value != 0 ? 1 : value;
            return;
        }
    }
}

log_config read_config(FILE *file)
{
    log_config config;
    char line[LINE_SIZE];
    while (fgets(line, sizeof line, file) != nullptr)
        read_config_line(line, &config);
    return config;
}

/// Turns the time stamp in a log file name, a buffer of `size` bytes, into
/// "2026-11-16-09:05:03.log".
void log_filename_tidy(char *name, size_t size)
{
    char *blank = strchr(name, ' ');
    if (blank == nullptr)
        return;
    *blank = '-';
    char *dot = strchr(blank, '.');
    if (dot == nullptr)
        return;
    dot[1] = '\0';
    append_text(name, "log", size);
}

void format_log_name(const char *base, const log_config &config, char *name, size_t size)
{
    const auto pid = static_cast<unsigned>(getpid());
    if (config.use_pid != 0 && config.use_timestamp != 0)
        snprintf(name, size, "/tmp/%s-%u-%s.log", base, pid, timestamp_str());
    else if (config.use_pid != 0)
        snprintf(name, size, "/tmp/%s-%u.log", base, pid);
    else if (config.use_timestamp != 0)
        snprintf(name, size, "/tmp/%s-%s.log", base, timestamp_str());
    else
        snprintf(name, size, "/tmp/%s.log", base);
    if (config.use_timestamp != 0)
        log_filename_tidy(name, size);
}

/// Whether the open file is the process's own and nobody else's: a regular file of its user, under
/// one name.
bool is_own_file(int fd)
{
    struct stat status = {};
    return fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
           status.st_nlink == 1;
}

/// Opens `path` as the log. Anybody may write to /tmp: a link there is not followed, a FIFO without
/// a reader fails instead of holding the process up, and what another user has put there is neither
/// emptied nor written into.
void open_log_file(const char *path, bool append)
{
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    descriptor file(open(path, flags | (append ? O_APPEND : 0), LOG_FILE_MODE));
    const bool usable =
        file.fd >= 0 && is_own_file(file.fd) && (append || ftruncate(file.fd, 0) == 0);
    log_stream = usable ? fdopen(file.fd, append ? "a" : "w") : nullptr;
    if (log_stream == nullptr) {
        fprintf(stderr, "%s file open error\n", path);
        return;
    }
    file.release();
    safe_strncpy(log_path, path, sizeof log_path);
}

bool passes_filter(int level)
{
    if (log_stream == nullptr)
        return false;
    if ((level & LOG_VERBOSITY_MASK) > (log_level & LOG_VERBOSITY_MASK))
        return false;
    const int categories = level & ~LOG_VERBOSITY_MASK;
    return categories == 0 || (categories & log_level) != 0;
}

void flush_if_asked()
{
    if (log_flush_mode != 0)
        fflush(log_stream);
}

} // namespace

void log_open(const char *name)
{
    const char *slash = strrchr(name, '/');
    const char *base = slash == nullptr ? name : slash + 1;
    char path[PATH_SIZE];
    snprintf(path, sizeof path, "/tmp/%s.lcf", base);
    const file_stream file = open_regular_file(path);
    if (!file) {
        log_stream = nullptr;
        return;
    }
    const log_config config = read_config(file.get());
    log_flush_mode = config.flush_mode;
    format_log_name(base, config, path, sizeof path);
    log_level = config.log_level;
    open_log_file(path, config.append_mode != 0);
}

void log_open_file(int level, const char *path)
{
    log_level = level;
    open_log_file(path, false);
}

void log_close()
{
    if (log_stream == nullptr)
        return;
    fclose(log_stream);
    log_stream = nullptr;
    struct stat status = {};
    if (lstat(log_path, &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0)
        unlink(log_path);
}

void log_cleanup()
{
    log_printf(LOG_LEVEL_INFO, "INFO: %s\n", timestamp_str());
    log_close();
}

int log_vprintf(int level, const char *format, va_list arguments)
{
    if (!passes_filter(level))
        return 0;
    const int written = vfprintf(log_stream, format, arguments);
    flush_if_asked();
    return written;
}

int log_printf(int level, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int written = log_vprintf(level, format, arguments);
    va_end(arguments);
    return written;
}

int log_trace(const char *format, ...)
{
    if (!passes_filter(LOG_LEVEL_TRACE))
        return 0;
    log_printf(LOG_LEVEL_TRACE, "%s:", timestamp_str());
    va_list arguments;
    va_start(arguments, format);
    const int written = log_vprintf(LOG_LEVEL_TRACE, format, arguments);
    va_end(arguments);
    return written;
}

int log_line(const char *format, ...)
{
    if (log_stream == nullptr)
        return 0;
    va_list arguments;
    va_start(arguments, format);
    const int text = vfprintf(log_stream, format, arguments);
    va_end(arguments);
    const int newline = fprintf(log_stream, "\n");
    flush_if_asked();
    return text + newline;
}

void log_argv(int level, int count, const char *const *arguments)
{
    for (int i = 0; i < count; ++i)
        log_printf(level, "argv[%d]=<%s>\n", i, arguments[i]);
}

int log_setvbuf(char *buffer, int mode, size_t size)
{
    return log_stream == nullptr ? 0 : setvbuf(log_stream, buffer, mode, size);
}

int log_xdump(const void *data, int length, const char *title)
{
    if (log_stream == nullptr)
        return 0;
    const int written = xdump_to(log_stream, data, length, title);
    flush_if_asked();
    return written;
}
