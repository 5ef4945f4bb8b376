// Stands in for libFuzzer: runs the target once with each file of a folder.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int, char **argv)
{
    int count = 0;
    for (const auto &entry : std::filesystem::directory_iterator(argv[1])) {
        // A target that aborts leaves the name of its input behind.
        printf("%s\n", entry.path().c_str());
        fflush(stdout);
        std::ifstream stream(entry.path(), std::ios::binary);
        const std::vector<char> content((std::istreambuf_iterator<char>(stream)), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(content.data()), content.size());
        ++count;
    }
    return count > 0 ? 0 : 1;
}
