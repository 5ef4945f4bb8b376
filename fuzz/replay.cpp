// Stands in for libFuzzer: runs the target once with each file of the folders given.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv)
{
    std::set<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        for (const auto &entry : std::filesystem::directory_iterator(argv[i]))
            files.insert(entry.path());
    }
    for (const auto &file : files) {
        // A target that aborts leaves the name of its input behind.
        printf("%s\n", file.c_str());
        fflush(stdout);
        std::ifstream stream(file, std::ios::binary);
        const std::vector<char> content((std::istreambuf_iterator<char>(stream)), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(content.data()), content.size());
    }
    return files.empty() ? 1 : 0;
}
