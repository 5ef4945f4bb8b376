// A scratch folder that vanishes with the test, and files in it.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdlib.h>
#include <string>

struct scratch_folder {
    std::filesystem::path path;

    scratch_folder()
    {
        std::string name = (std::filesystem::path(SCRATCH_ROOT) / "test-XXXXXX").string();
        std::filesystem::create_directories(SCRATCH_ROOT);
        path = mkdtemp(name.data());
    }
    ~scratch_folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    /// Writes a file, with the folders above it, and returns its path.
    std::string write(const std::string &name, const std::string &content) const
    {
        const std::filesystem::path file = path / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file.string();
    }
};

inline std::string content_of(const std::filesystem::path &file)
{
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}
