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
#include <functional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{

/// A log name of this process alone; its files under /tmp vanish with the test.
struct log_files {
    std::string name = "devscout_test_" + std::to_string(getpid());
    std::string configuration = "/tmp/" + name + ".lcf";
    std::string plain = "/tmp/" + name + ".log";

    log_files()
    {
        log_level = 0;
        log_flush_mode = 0;
        remove_all();
    }
    log_files(const log_files &) = delete;
    log_files &operator=(const log_files &) = delete;
    ~log_files()
    {
        log_close();
        remove_all();
    }

    std::vector<std::string> existing() const
    {
        std::vector<std::string> found;
        for (const auto &entry : std::filesystem::directory_iterator("/tmp")) {
            const std::string file = entry.path().filename();
            if (file.rfind(name, 0) == 0 && entry.path() != configuration)
                found.push_back(entry.path());
        }
        return found;
    }

    void remove_all() const
    {
        for (const std::string &file : existing())
            std::filesystem::remove(file);
        std::filesystem::remove(configuration);
    }

    void configure(const std::string &content) const
    {
        std::ofstream(configuration) << content;
    }
};

std::string dump(const std::string &bytes, const char *title)
{
    return printed_by([&] { xdump_titled(bytes.data(), static_cast<int>(bytes.size()), title); });
}

} // namespace

TEST(Log, StaysOffWithoutAConfigurationFile)
{
    const log_files files;
    log_open(files.name.c_str());
    EXPECT_EQ(log_printf(1, "record\n"), 0);
    EXPECT_EQ(log_line("line"), 0);
    EXPECT_EQ(log_trace("trace\n"), 0);
    EXPECT_EQ(log_xdump("x", 1, nullptr), 0);
    log_cleanup();
    EXPECT_TRUE(files.existing().empty());
}

TEST(Log, ReadsItsKeys)
{
    const log_files files;
    const struct {
        const char *content;
        int level;
        int flush;
    } cases[] = {
        {"", 2, 3},
        {"LOG_LEVEL=3\nFLUSH_MODE=1\nLOG_LEVEL= 1 x\n", 1, 1},
        {"FLUSH_MODE=yes\nLOG_LEVELS and more=7\n", 7, 0},
        {" LOG_LEVEL=5\nlog_level=5\n#LOG_LEVEL=5\nLOG_LEVEL\nLOG_LEVE=5\n", 2, 3},
        {"LOG_LEVEL=274\nFLUSH_MODE=2", 274, 1},
        {"LOG_LEVEL=x=5", 0, 3},
    };
    for (const auto &c : cases) {
        log_flush_mode = 3;
        files.configure(c.content);
        log_open(("some/folder/" + files.name).c_str());
        EXPECT_EQ(log_level, c.level) << c.content;
        EXPECT_EQ(log_flush_mode, c.flush) << c.content;
        EXPECT_EQ(log_path, files.plain);
        log_close();
        EXPECT_TRUE(files.existing().empty()) << "an empty log is removed";
    }
}

TEST(Log, AppendsOrTruncates)
{
    const log_files files;
    std::ofstream(files.plain) << "old\n";
    files.configure("APPEND_MODE=1\nLOG_LEVEL=0\n");
    log_open(files.name.c_str());
    log_line("new");
    log_close();
    log_close();
    EXPECT_EQ(content_of(files.plain), "old\nnew\n");
    files.configure("APPEND_MODE=0\n");
    log_open(files.name.c_str());
    log_cleanup();
    EXPECT_EQ(content_of(files.plain).rfind("INFO: 2", 0), 0U);
}

TEST(Log, PutsPidAndTimeIntoItsName)
{
    const log_files files;
    const std::string pid = "-" + std::to_string(getpid());
    const std::string time = "-[0-9]{4}-[0-9]{2}-[0-9]{2}-[0-9]{2}:[0-9]{2}:[0-9]{2}";
    const struct {
        const char *content;
        std::string pattern;
    } cases[] = {
        {"USE_PID=1\n", pid},
        {"USE_TIMESTAMP=1\n", time},
        {"USE_TIMESTAMP=1\nUSE_PID=1\n", pid + time},
    };
    for (const auto &c : cases) {
        files.configure(c.content);
        log_open(files.name.c_str());
        EXPECT_THAT(log_path, testing::MatchesRegex("/tmp/" + files.name + c.pattern + "\\.log"));
        log_close();
    }
}

TEST(Log, TakesNothingThatIsNotItsOwnFile)
{
    const log_files files;
    const scratch_folder folder;
    const std::string victim = folder.write("victim", "precious");
    descriptor reader;
    const struct {
        const char *what;
        std::function<int(const char *)> lay;
    } cases[] = {
        {"symbolic link", [&](const char *log) { return symlink(victim.c_str(), log); }},
        {"hard link", [&](const char *log) { return link(victim.c_str(), log); }},
        {"FIFO without a reader", [&](const char *log) { return mkfifo(log, 0600); }},
        {"FIFO with a reader",
         [&](const char *log) {
             const int laid = mkfifo(log, 0600);
             reader.reset(open(log, O_RDONLY | O_NONBLOCK));
             return laid;
         }},
        {"folder", [&](const char *log) { return mkdir(log, 0700); }},
        {"file of another user",
         [&](const char *log) {
             std::ofstream(log) << "precious";
             return geteuid() == 0 ? chown(log, 65534, 65534) : chmod(log, 0400);
         }},
    };
    files.configure("APPEND_MODE=1\n");
    const std::string truncated = folder.path / "log";
    for (const std::string &log : {truncated, files.plain}) {
        for (const auto &c : cases) {
            std::filesystem::remove(log);
            ASSERT_EQ(c.lay(log.c_str()), 0) << c.what;
            testing::internal::CaptureStderr();
            log == truncated ? log_open_file(2, log.c_str()) : log_open(files.name.c_str());
            EXPECT_EQ(testing::internal::GetCapturedStderr(), log + " file open error\n") << c.what;
            EXPECT_EQ(log_stream, nullptr) << c.what;
            EXPECT_EQ(content_of(victim), "precious") << c.what;
        }
        EXPECT_EQ(content_of(log), "precious") << "another user's file is not emptied either";
    }

    std::filesystem::remove(files.configuration);
    ASSERT_EQ(mkfifo(files.configuration.c_str(), 0600), 0);
    log_open(files.name.c_str());
    EXPECT_EQ(log_stream, nullptr) << "a FIFO is no configuration";
}

TEST(Log, WritesEachRecordAtOnceInFlushMode)
{
    const log_files files;
    for (const bool flush : {false, true}) {
        files.configure(flush ? "FLUSH_MODE=1\n" : "FLUSH_MODE=0\n");
        log_open(files.name.c_str());
        log_printf(1, "record\n");
        EXPECT_EQ(content_of(files.plain), flush ? "record\n" : "");
        log_line("line");
        EXPECT_EQ(content_of(files.plain), flush ? "record\nline\n" : "");
        log_close();
    }
}

TEST(Log, FiltersByVerbosityAndCategory)
{
    const scratch_folder folder;
    const std::string path = folder.path / "filtered.log";
    const struct {
        int threshold;
        int level;
        bool written;
    } cases[] = {
        {2, 2, true},       {2, 3, false},      {0, 1, false},       {0x0F, 0x12, false},
        {0x12, 0x12, true}, {0x32, 0x12, true}, {0x22, 0x12, false}, {0x20, 0, true},
    };
    for (const auto &c : cases) {
        log_open_file(c.threshold, path.c_str());
        EXPECT_EQ(log_printf(c.level, "12345") == 5, c.written) << c.threshold << " " << c.level;
        log_close();
    }
}

TEST(Log, WritesArgumentsTracesAndDumps)
{
    const scratch_folder folder;
    const std::string path = folder.path / "records.log";
    const char *const arguments[] = {"devscout", "-d3", ""};
    log_open_file(2, path.c_str());
    log_argv(2, 3, arguments);
    log_argv(2, -1, arguments);
    EXPECT_EQ(log_trace("\tready=%d\n", 1), 9);
    EXPECT_EQ(log_xdump("AB", 2, "two"), 0);
    log_close();
    const std::string content = content_of(path);
    EXPECT_EQ(content.rfind("argv[0]=<devscout>\nargv[1]=<-d3>\nargv[2]=<>\n20", 0), 0U);
    EXPECT_NE(content.find(":\tready=1\n\ntwo begin {\n000000  41 42 "), std::string::npos);
}

TEST(Timestamp, ChoosesItsTime)
{
    setenv("TZ", "UTC", 1);
    char text[TIMESTAMP_SIZE];
    const struct timeval precise = {1794819903, 417};
    const time_t seconds = 86400;
    EXPECT_STREQ(format_timestamp(text, sizeof text, &precise, &seconds, 1),
                 "2026-11-16 09:05:03.000417");
    EXPECT_STREQ(format_timestamp(text, sizeof text, nullptr, &seconds, 1),
                 "1970-01-02 00:00:00.000000");
    EXPECT_STREQ(format_timestamp(text, 20, nullptr, nullptr, 1), "1970-01-01 00:00:01");
    setenv("TZ", "XYZ-2", 1); // the zone is looked up each time
    EXPECT_STREQ(format_timestamp(text, 20, nullptr, nullptr, 1), "1970-01-01 02:00:01");
    setenv("TZ", "UTC", 1);
    const time_t before = time(nullptr);
    format_timestamp(text, sizeof text, nullptr, nullptr, 0);
    struct tm parsed = {};
    strptime(text, "%Y-%m-%d %H:%M:%S", &parsed);
    EXPECT_GE(timegm(&parsed), before);
}

TEST(Xdump, LaysBytesOutInColumns)
{
    EXPECT_EQ(dump("ABCDEFGHIJKLMNOPQRST", nullptr),
              "000000  41 42 43 44  45 46 47 48  49 4a 4b 4c  4d 4e 4f 50  ABCDEFGHIJKLMNOP\n"
              "000010  51 52 53 54                                         QRST\n");
    EXPECT_EQ(dump(std::string("\x1f\x20\x7e\x7f\x00\xff", 6), "bytes"),
              "\nbytes begin {\n"
              "000000  1f 20 7e 7f  00 ff                                  . ~...\n"
              "bytes end   }\n\n");
    EXPECT_EQ(dump("", "none"), "\nnone begin {\nnone end   }\n\n");
    EXPECT_EQ(dump("", nullptr), "");
    EXPECT_EQ(dump(std::string(16, 'x'), nullptr).size(), 77U);
    EXPECT_EQ(xdump_to(nullptr, "x", 1, "none"), -1);
}

TEST(Xdump, KeepsLinesWholePast16MiB)
{
    const std::string bytes((16U << 20) + 16, 'x');
    const scratch_folder folder;
    const std::string path = folder.path / "dump";
    FILE *stream = fopen(path.c_str(), "w");
    ASSERT_NE(stream, nullptr);
    xdump_to(stream, bytes.data(), static_cast<int>(bytes.size()), nullptr);
    fclose(stream);
    const std::string content = content_of(path);
    EXPECT_EQ(content.substr(content.size() - 78),
              "1000000  78 78 78 78  78 78 78 78  78 78 78 78  78 78 78 78  xxxxxxxxxxxxxxxx\n");
}
