// OEM.ini, paths and bounded texts.
#include "config/oem_config.h"
#include "config/paths.h"
#include "config/printable.h"
#include "config/text.h"
#include "config/utf8.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

/// A scratch folder that is the working directory until the test's end.
struct working_folder {
    scratch_folder folder;
    std::string before = std::filesystem::current_path();
    std::string program = folder.path / "bin/devscout";

    working_folder()
    {
        std::filesystem::current_path(folder.path);
        actx = oem_config();
    }
    ~working_folder()
    {
        std::filesystem::current_path(before);
    }

    /// Reads the OEM.ini of a program of its own, once `name` is written.
    int read_ini(const std::string &content, const char *name = "share/OEM.ini") const
    {
        folder.write(name, content);
        return read_oem_config(program.c_str());
    }
};

} // namespace

TEST(Text, CutsAndAlwaysTerminates)
{
    char buffer[6] = "?????";
    EXPECT_STREQ(safe_strncpy(buffer, "abcdefgh", sizeof buffer), "abcde");
    EXPECT_STREQ(copy_part(buffer, "abcdefgh", 7, sizeof buffer), "abcde");
    EXPECT_STREQ(copy_part(buffer, "ab", 1, sizeof buffer), "a");
    EXPECT_STREQ(safe_strncpy(buffer, "abcde", sizeof buffer), "abcde");
    append_text(buffer, "xyz", sizeof buffer);
    EXPECT_STREQ(buffer, "abcde");
    EXPECT_STREQ(copy_part(buffer, "abcd\xc3\x9c", 6, sizeof buffer), "abcd");
    EXPECT_STREQ(copy_part(buffer, "abcd\xc3\xc3\x9c", 7, sizeof buffer), "abcd\xc3");
    EXPECT_STREQ(copy_part(buffer, "abc\xc3\x9c", 5, sizeof buffer), "abc\xc3\x9c");
    EXPECT_STREQ(str_toupper("aZ1\xe4", buffer, sizeof buffer), "AZ1\xe4");
    EXPECT_STREQ(str_tolower("ABCDEFGH", buffer, 1), "");
    EXPECT_EQ(str_tolower_static(std::string(2000, 'A').c_str()), std::string(1023, 'a'));
    char line[] = "value\n\n";
    EXPECT_STREQ(strip_newline(strip_newline(strip_newline(line))), "value");
}

TEST(Text, IsPrintedWithoutWhatCouldForgeALine)
{
    const struct {
        std::string text;
        std::string printed;
    } cases[] = {
        {"a\nb\r\t\x1b[2J\x7f~", "a b   [2J ~"},
        {"\xc2\x85ip: 6.6.6.6", "  ip: 6.6.6.6"},
        {"\xc2\x80\xc2\x9f\xc2\xa0", "    \xc2\xa0"},
        {"\xe2\x80\xa7\xe2\x80\xa8\xe2\x80\xa9\xe2\x80\xaa", "\xe2\x80\xa7         "},
        {"\xe2\x80\xae\xe2\x80\xaf\xe2\x81\xa5\xe2\x81\xa6", "   \xe2\x80\xaf\xe2\x81\xa5   "},
        {"\xe2\x81\xa9\xe2\x81\xaa", "   \xe2\x81\xaa"},
        // UTF-8 letters hold bytes that stand for control characters elsewhere.
        {"\xc3\x9c\xd0\x9b\xe2\x82\xac\xf0\x9f\x96\xa8",
         "\xc3\x9c\xd0\x9b\xe2\x82\xac\xf0\x9f\x96\xa8"},
        {"\x9b[J\x80\x9f", " [J  "},
        // Latin-1 becomes UTF-8, a letter that looks like the beginning of a character too.
        {"B\xfcro \xa0\xff", "B\xc3\xbcro \xc2\xa0\xc3\xbf"},
        {"B\xfcro Caf\xe9", "B\xc3\xbcro Caf\xc3\xa9"},
        // Overlong, surrogate and too large: no character, so the bytes count one by one.
        {"\xe2\xe2\x80\xa8", "\xc3\xa2   "},
        {"\xc1\x85\xe0\x82\x85\xf0\x80\x82\x85", "\xc3\x81 \xc3\xa0  \xc3\xb0   "},
        {"\xed\xa0\x80\xf4\x90\x80\x80\xf8\x88", "\xc3\xad\xc2\xa0 \xc3\xb4   \xc3\xb8 "},
        {"\xed\x9f\xbf\xf4\x8f\xbf\xbf", "\xed\x9f\xbf\xf4\x8f\xbf\xbf"},
        // Characters that the end cuts off, and what cannot be one.
        {"\xc3\xbc \xc3", "\xc3\xbc "},
        {"a\xe2\x80", "a"},
        {"a\xed", "a"},
        {"a\xf0", "a"},
        {"a\xf4\x8f\xbf", "a"},
        {"\xed\xa0", "\xc3\xad\xc2\xa0"},
        {"\xf4\x90", "\xc3\xb4 "},
        {"\xe0\xbf\xc1", "\xc3\xa0\xc2\xbf\xc3\x81"},
    };
    for (const auto &c : cases) {
        char printed[32];
        EXPECT_EQ(printable_text(printed, c.text.c_str(), sizeof printed), c.printed) << c.text;
    }
    char small[5];
    EXPECT_STREQ(printable_text(small, "abcdefgh", sizeof small), "abcd");
    EXPECT_STREQ(printable_text(small, "abc\xc3\x9c", sizeof small), "abc");
    EXPECT_STREQ(printable_text(small, "ab\xdc\xdc", sizeof small), "ab\xc3\x9c");
}

TEST(Text, IsToldFromOtherBytes)
{
    const struct {
        std::string bytes;
        bool text;
    } cases[] = {
        {"MFG:Ramo;\tMDL:\r\n", true},
        {"B\xfcro \xa0\xff\xff\xff", true},
        {"B\xc3\x9cro \xe2\x82\xac", true},
        {"B\xc3\x9cro \xe2\x82", true},
        {"\xe2\x82\xac \xfc", false},
        {"B\xfcro \x9f", false},
        {"B\xfcro \x7f", false},
        {"B\xfcro \x1f", false},
        {"\xc3\x9c\x7f", false},
        {{"\xc3\x9c\0", 3}, false},
        {"a\xff\xff\xff\xff", false},
    };
    for (const auto &c : cases) {
        const auto *bytes = reinterpret_cast<const uint8_t *>(c.bytes.data());
        EXPECT_EQ(is_text(bytes, c.bytes.size()), c.text) << c.bytes;
    }
}

TEST(Paths, MakesPathsAbsoluteWhereThereIsAWorkingDirectory)
{
    const working_folder here;
    const std::string folder = here.folder.path;
    const struct {
        const char *path;
        std::string absolute;
    } cases[] = {
        {"/opt/app/bin/devscout", "/opt/app/bin/devscout"},
        {"./devscout", folder + "/devscout"},
        {"././devscout", folder + "/./devscout"},
        {"", folder + "/"},
        {nullptr, ""},
    };
    for (const auto &c : cases)
        EXPECT_EQ(program_path(c.path), c.absolute);
    char small[8];
    EXPECT_EQ(make_abs_path("/opt/app/bin", small, sizeof small), std::string("/opt/ap"));
    std::filesystem::remove_all(folder);
    EXPECT_STREQ(program_path("./devscout"), "./devscout");
}

TEST(OemConfig, TakesTheFirstFileThatOpens)
{
    const working_folder here;
    const std::filesystem::path base = here.folder.path;
    EXPECT_EQ(here.read_ini("VENDOR=NeverSearched\n", "bin/OEM.ini"), -1);
    EXPECT_EQ(actx.parport, 0) << "without a file everything stays zero";
    std::filesystem::create_directory(base / "cwd");
    std::filesystem::current_path(base / "cwd");
    for (const char *name : {"cwd/OEM.ini", "OEM.ini", "share/OEM.ini"}) {
        EXPECT_EQ(here.read_ini(std::string("VENDOR=") + name, name), 0);
        EXPECT_STREQ(actx.vendor_name, name);
    }
    EXPECT_EQ(actx.program_dir, base / "bin");
    EXPECT_EQ(actx.base_dir, base);
    EXPECT_EQ(actx.share_dir, base / "share");
    std::filesystem::resize_file(base / "share/OEM.ini", 1 << 20);
    EXPECT_EQ(read_oem_config(here.program.c_str()), 0);
    EXPECT_STREQ(actx.vendor_name, "share/OEM.ini");
    std::filesystem::resize_file(base / "share/OEM.ini", (1 << 20) + 1);
    EXPECT_EQ(read_oem_config(here.program.c_str()), 0);
    EXPECT_STREQ(actx.vendor_name, "OEM.ini") << "a file of more than one mebibyte";
    std::filesystem::remove(base / "OEM.ini");
    std::filesystem::create_directory(base / "OEM.ini");
    EXPECT_EQ(read_oem_config(here.program.c_str()), 0);
    EXPECT_STREQ(actx.vendor_name, "cwd/OEM.ini") << "a folder";
}

TEST(OemConfig, ReadsKeysWhereverTheyStandAndBoundsWhatItKeeps)
{
    std::string bounded = "VENDOR=" + std::string(100, 'V') + "\nURL=" + std::string(600, 'u') +
                          std::string("\nSCANNER=\0 7\n", 13) + std::string(505, 'x') +
                          "PARPORT=5\n";
    for (int i = 0; i < 33; ++i)
        bounded += "MODEL=model-" + std::to_string(i) +
                   "-of-many-models\nPLUGIN=" + std::to_string(i) + "\n";
    const struct {
        std::string content;
        std::string numbers;
        std::string vendor;
        std::string url;
    } cases[] = {
        {"MULTIVENDOR= 1x\n", "1,1,1,1,1,0,0,", "", ""},
        {"#VENDOR=MixedCase\r\nPORTPLUGIN=0\r\nSCANNER=\r\nPARPORT=-2\nno key here",
         "0,-2,0,0,1,0,0,", "mixedcase\r", ""},
        // A line that holds both is the vendor's, and the later line counts.
        {"URL=x VENDOR=y\nVENDOR=a URL=b", "0,1,1,1,1,0,0,", "a url=b", ""},
        {bounded, "0,1,1,0,1,32,5,", std::string(31, 'v'), std::string(255, 'u')},
    };
    const working_folder here;
    for (const auto &c : cases) {
        actx = oem_config();
        ASSERT_EQ(here.read_ini(c.content), 0);
        std::string numbers;
        for (const int number : {actx.multivendor, actx.parport, actx.portplugin, actx.scanner,
                                 actx.update_printer_group, actx.model_count, actx.plugin_count})
            numbers += std::to_string(number) + ",";
        EXPECT_EQ(numbers, c.numbers) << c.content;
        EXPECT_EQ(actx.vendor_lower, c.vendor);
        EXPECT_EQ(str_tolower_static(actx.vendor_upper), c.vendor);
        EXPECT_EQ(actx.url, c.url);
    }
    EXPECT_STREQ(actx.models[31], "model-31-of-man");
    EXPECT_STREQ(actx.plugins[4], "4");
    EXPECT_EQ(actx.vendor_upper, std::string(31, 'V'));
}
