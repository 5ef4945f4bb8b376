// Log files, records, time stamps and hex dumps.
#include "capture.h"
#include "io/stream.h"
#include "log/log.h"
#include "log/timestamp.h"
#include "log/xdump.h"
#include "scratch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// A log name of this process alone; its files under /tmp vanish with the test.
struct log_files {
    std::string name = "devscout_test_" + std::to_string(getpid());
    std::string configuration = "/tmp/" + name + ".lcf";
    std::string plain = "/tmp/" + name + ".log";
    std::string victim = "/tmp/" + name + ".victim"; // a hard link stays on its file system

    ~log_files()
    {
        log_close();
        std::filesystem::remove(victim);
        std::filesystem::remove(plain);
        std::filesystem::remove(configuration);
    }

    void open_with(const std::string &content) const
    {
        std::ofstream(configuration) << content;
        log_open(("some/folder/" + name).c_str());
    }
};

} // namespace

TEST(Log, ReadsItsKeys)
{
    const log_files files;
    const std::string pid = "-" + std::to_string(getpid());
    const std::string time = "-[0-9]{4}-[0-9]{2}-[0-9]{2}-[0-9]{2}:[0-9]{2}:[0-9]{2}";
    const struct {
        const char *content;
        int level;
        int flush;
        std::string name;
    } cases[] = {
        {"", 2, 3, ""},
        {"LOG_LEVEL=3\nFLUSH_MODE=1\nLOG_LEVEL= 1 x\n", 1, 1, ""},
        {"FLUSH_MODE=yes\nLOG_LEVELS and more=7\n", 7, 0, ""},
        {" LOG_LEVEL=5\nlog_level=5\n#LOG_LEVEL=5\nLOG_LEVEL\nLOG_LEVE=5\n", 2, 3, ""},
        {"LOG_LEVEL=010", 10, 3, ""},
        {"LOG_LEVEL=274\nFLUSH_MODE=2", 274, 1, ""},
        {"LOG_LEVEL=x=5", 0, 3, ""},
        {"USE_PID=1\n", 2, 3, pid},
        {"USE_TIMESTAMP=1\n", 2, 3, time},
        {"USE_TIMESTAMP=1\nUSE_PID=1\n", 2, 3, pid + time},
    };
    for (const auto &c : cases) {
        log_flush_mode = 3;
        files.open_with(c.content);
        EXPECT_EQ(log_level, c.level) << c.content;
        EXPECT_EQ(log_flush_mode, c.flush) << c.content;
        EXPECT_THAT(log_path, testing::MatchesRegex("/tmp/" + files.name + c.name + "\\.log"));
        const mode_t umask_before = umask(0);
        umask(umask_before);
        struct stat log = {};
        EXPECT_TRUE(stat(log_path, &log) == 0 && log.st_mode == (S_IFREG | (0666 & ~umask_before)));
        log_close();
        EXPECT_FALSE(std::filesystem::exists(log_path)) << "an empty log is removed";
    }
}

TEST(Log, AppendsOrTruncatesAndWritesAtOnceInFlushMode)
{
    const log_files files;
    std::ofstream(files.plain) << "old\n";
    const char *const arguments[] = {"a", ""};
    const struct {
        const char *content;
        const char *at_once;
        const char *closed;
    } cases[] = {
        {"APPEND_MODE=1\nLOG_LEVEL=0\nFLUSH_MODE=0\n", "old\n", "old\nline\n"},
        {"FLUSH_MODE=0\n", "", "line\nargv[0]=<a>\nargv[1]=<>\n"},
        {"FLUSH_MODE=1\n", "line\nargv[0]=<a>\nargv[1]=<>\n", "line\nargv[0]=<a>\nargv[1]=<>\n"},
    };
    for (const auto &c : cases) {
        files.open_with(c.content);
        log_line("line");
        log_argv(1, 2, arguments);
        EXPECT_EQ(content_of(files.plain), c.at_once) << c.content;
        log_close();
        EXPECT_EQ(log_printf(0, "x") + log_line("x") + log_trace("x") + log_xdump("x", 1, "x"), 0);
        EXPECT_EQ(content_of(files.plain), c.closed) << c.content;
    }
}

TEST(Log, TakesNothingThatIsNotItsOwnFile)
{
    const log_files files;
    const std::string &victim = files.victim;
    const std::string &log = files.plain;
    std::ofstream(victim) << "precious";
    // Where a FIFO is read, nothing but what it is keeps it from being opened.
    const std::pair<std::string, bool> cases[] = {
        {"ln -s '" + victim + "' ", false},
        {"ln '" + victim + "' ", false},
        {"mkfifo ", false},
        {"mkfifo ", true},
        {"mkdir ", false},
        // of another user, or, where that takes more rights, not to be written
        {"install " + std::string(geteuid() == 0 ? "-o 65534" : "-m 400") + " '" + victim + "' ",
         false},
    };
    for (const char *settings : {"APPEND_MODE=0\n", "APPEND_MODE=1\n"}) {
        for (const auto &[lay, is_read] : cases) {
            std::filesystem::remove(log);
            ASSERT_EQ(system((lay + log).c_str()), 0) << lay;
            const descriptor reader(is_read ? open(log.c_str(), O_RDONLY | O_NONBLOCK) : -1);
            testing::internal::CaptureStderr();
            files.open_with(settings);
            EXPECT_EQ(testing::internal::GetCapturedStderr(), log + " file open error\n") << lay;
            EXPECT_EQ(log_stream, nullptr) << lay;
            EXPECT_EQ(content_of(victim), "precious") << lay;
        }
    }
    EXPECT_EQ(content_of(log), "precious") << "another user's file is not emptied either";
    std::filesystem::remove(files.configuration);
    ASSERT_EQ(mkfifo(files.configuration.c_str(), 0600), 0);
    log_open(files.name.c_str());
    EXPECT_EQ(log_stream, nullptr) << "a FIFO is no configuration";
}

TEST(Timestamp, ChoosesItsTime)
{
    setenv("TZ", "UTC", 1);
    char text[TIMESTAMP_SIZE];
    const struct timeval precise = {1794819903, 417};
    const time_t seconds = 86400;
    EXPECT_STREQ(format_timestamp(text, sizeof text, &precise, &seconds, 1),
                 "2026-11-16 09:05:03.000417");
    EXPECT_STREQ(format_timestamp(text, 20, nullptr, &seconds, 1), "1970-01-02 00:00:00");
    setenv("TZ", "XYZ-2", 1); // the zone is looked up each time
    EXPECT_STREQ(format_timestamp(text, 20, nullptr, nullptr, 1), "1970-01-01 02:00:01");
}

TEST(Xdump, LaysBytesOutInColumns)
{
    const struct {
        std::string bytes;
        const char *title;
        std::string text;
    } cases[] = {
        {"ABCDEFGHIJKLMNOPQRST", nullptr,
         "000000  41 42 43 44  45 46 47 48  49 4a 4b 4c  4d 4e 4f 50  ABCDEFGHIJKLMNOP\n"
         "000010  51 52 53 54                                         QRST\n"},
        {std::string("\x1f\x20\x7e\x7f\x00\xff", 6), "bytes",
         "\nbytes begin {\n"
         "000000  1f 20 7e 7f  00 ff                                  . ~...\n"
         "bytes end   }\n\n"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(printed_by([&] {
                      xdump_titled(c.bytes.data(), static_cast<int>(c.bytes.size()), c.title);
                  }),
                  c.text);
    }
    EXPECT_EQ(printed_by([] { xdump("123456789abcdef", 16); }).size(), 77U);
    EXPECT_EQ(xdump_to(nullptr, "x", 1, "none"), -1);
}
