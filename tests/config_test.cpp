// OEM.ini, paths and bounded texts.
#include "config/oem_config.h"
#include "config/paths.h"
#include "config/printable.h"
#include "config/text.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <string>
#include <unistd.h>

namespace
{

/// Reads `content` as the OEM.ini of a program of its own, from fresh settings.
int read_ini(const scratch_folder &folder, const std::string &content)
{
    actx = oem_config();
    folder.write("share/OEM.ini", content);
    return read_oem_config((folder.path / "bin/devscout").c_str());
}

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
        {"B\xfcro \xa0\xff", "B\xfcro \xa0\xff"}, // Latin-1
        {"\x9b"
         "2J\x80\x9f",
         " 2J  "},
        // Cut, overlong, surrogate and too large: no sequence, so its bytes count one by one.
        {"\xe2\x80", "\xe2 "},
        {"\xe2\xe2\x80\xa8", "\xe2   "},
        {"\xc1\x85\xe0\x82\x85\xf0\x80\x82\x85", "\xc1 \xe0  \xf0   "},
        {"\xed\xa0\x80\xf4\x90\x80\x80\xf8\x88", "\xed\xa0 \xf4   \xf8 "},
    };
    for (const auto &c : cases) {
        char printed[32];
        EXPECT_EQ(printable_text(printed, c.text.c_str(), sizeof printed), c.printed) << c.text;
    }
    char small[5];
    EXPECT_STREQ(printable_text(small, "abcdefgh", sizeof small), "abcd");
    EXPECT_STREQ(printable_text(small, "abc\xc3\x9c", sizeof small), "abc");
}

TEST(Paths, MakesPathsAbsolute)
{
    const scratch_folder folder;
    const std::string before = std::filesystem::current_path();
    ASSERT_EQ(chdir(folder.path.c_str()), 0);
    const std::string here = folder.path;
    const struct {
        const char *path;
        std::string absolute;
    } cases[] = {
        {"/opt/app/bin/devscout", "/opt/app/bin/devscout"},
        {"./devscout", here + "/devscout"},
        {"././devscout", here + "/./devscout"},
        {"../devscout", here + "/../devscout"},
        {"devscout", here + "/devscout"},
        {"", here + "/"},
        {nullptr, ""},
    };
    for (const auto &c : cases)
        EXPECT_EQ(program_path(c.path), c.absolute);
    char small[8];
    EXPECT_EQ(make_abs_path("/opt/app/bin", small, sizeof small), std::string("/opt/ap"));
    EXPECT_EQ(chdir(before.c_str()), 0);
}

TEST(Paths, KeepsThePathAsGivenWhereTheWorkingDirectoryIsGone)
{
    const std::string before = std::filesystem::current_path();
    {
        const scratch_folder folder;
        ASSERT_EQ(chdir(folder.path.c_str()), 0);
    }
    EXPECT_STREQ(program_path("./devscout"), "./devscout");
    EXPECT_EQ(chdir(before.c_str()), 0);
}

TEST(OemConfig, TakesTheFirstFileThatOpens)
{
    const scratch_folder folder;
    const std::string program = (folder.path / "bin/devscout").string();
    const std::string before = std::filesystem::current_path();
    folder.write("cwd/OEM.ini", "VENDOR=Cwd\n");
    folder.write("bin/OEM.ini", "VENDOR=NeverSearched\n");
    ASSERT_EQ(chdir((folder.path / "cwd").c_str()), 0);

    actx = oem_config();
    EXPECT_EQ(read_oem_config(program.c_str()), 0);
    EXPECT_STREQ(actx.vendor_name, "Cwd");
    folder.write("OEM.ini", "VENDOR=Base\n");
    EXPECT_EQ(read_oem_config(program.c_str()), 0);
    EXPECT_STREQ(actx.vendor_name, "Base");
    std::filesystem::create_directories(folder.path / "share/OEM.ini");
    EXPECT_EQ(read_oem_config(program.c_str()), 0);
    EXPECT_STREQ(actx.vendor_name, "Base") << "a folder is passed over";
    std::filesystem::remove(folder.path / "share/OEM.ini");
    folder.write("share/OEM.ini", "VENDOR=Share\n");
    EXPECT_EQ(read_oem_config(program.c_str()), 0);
    EXPECT_STREQ(actx.vendor_name, "Share");
    EXPECT_EQ(actx.program_dir, folder.path / "bin");
    EXPECT_EQ(actx.base_dir, folder.path);
    EXPECT_EQ(actx.share_dir, folder.path / "share");
    EXPECT_EQ(chdir(before.c_str()), 0);
}

TEST(OemConfig, KeepsEverythingZeroWithoutAFile)
{
    actx = oem_config();
    EXPECT_EQ(read_oem_config("/nonexistent/bin/devscout"), -1);
    EXPECT_STREQ(actx.share_dir, "/nonexistent/share");
    EXPECT_EQ(actx.parport, 0);
    EXPECT_EQ(actx.vendor_name[0], '\0');
}

TEST(OemConfig, ReadsKeysWhereverTheyStand)
{
    const scratch_folder folder;
    ASSERT_EQ(read_ini(folder, "MULTIVENDOR= 1x\n"), 0);
    EXPECT_EQ(actx.multivendor, 1);
    EXPECT_EQ(actx.parport + actx.portplugin + actx.scanner + actx.update_printer_group, 4);
    EXPECT_STREQ(actx.vendor_name, "");

    read_ini(folder, "#VENDOR=MixedCase\r\nPORTPLUGIN=0\r\nSCANNER=\r\nURL=http://x VENDOR=y\n"
                     "PARPORT=-2\nVENDOR=first URL=second\nno key here");
    EXPECT_STREQ(actx.vendor_name, "first URL=second");
    EXPECT_STREQ(actx.vendor_upper, "FIRST URL=SECOND");
    EXPECT_STREQ(actx.url, "") << "VENDOR= takes a line that holds both";
    EXPECT_EQ(actx.portplugin, 0);
    EXPECT_EQ(actx.plugin_count, 0);
    EXPECT_EQ(actx.scanner, 0);
    EXPECT_EQ(actx.parport, -2);
    read_ini(folder, "VENDOR=MixedCase\r\n");
    EXPECT_STREQ(actx.vendor_lower, "mixedcase\r");
}

TEST(OemConfig, PassesOverFilesOfMoreThanOneMebibyte)
{
    const scratch_folder folder;
    const std::string file = folder.write("share/OEM.ini", "VENDOR=Big\n");
    const std::string program = folder.path / "bin/devscout";
    std::filesystem::resize_file(file, 1 << 20);
    EXPECT_EQ(read_oem_config(program.c_str()), 0);
    std::filesystem::resize_file(file, (1 << 20) + 1);
    EXPECT_EQ(read_oem_config(program.c_str()), -1);
}

TEST(OemConfig, BoundsListsValuesAndLines)
{
    const scratch_folder folder;
    std::string content;
    for (int i = 0; i < 33; ++i)
        content += "MODEL=model-" + std::to_string(i) + "-of-many-models\n";
    for (int i = 0; i < 6; ++i)
        content += "PLUGIN=" + std::to_string(i) + "\n";
    content += "VENDOR=" + std::string(100, 'v') + "\nURL=" + std::string(600, 'u') + "\n";
    content += std::string("SCANNER=\0 7\n", 12) + std::string(505, 'x') + "PARPORT=5\n";
    read_ini(folder, content);
    EXPECT_EQ(actx.model_count, 32);
    EXPECT_STREQ(actx.models[31], "model-31-of-man");
    EXPECT_EQ(actx.plugin_count, 5);
    EXPECT_STREQ(actx.plugins[4], "4");
    EXPECT_EQ(actx.vendor_upper, std::string(31, 'V'));
    EXPECT_EQ(actx.url, std::string(255, 'u'));
    EXPECT_EQ(actx.scanner, 0);
    EXPECT_EQ(actx.parport, 1) << "the key is torn apart by the line buffer";
}
