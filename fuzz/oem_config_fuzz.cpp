// Fuzzes the reader of OEM.ini, in an installation of its own.
#include "config/oem_config.h"
#include "input_file.h"

#include <cstring>
#include <filesystem>

namespace
{

/// An installation's folder that vanishes with the process; its OEM.ini is the input.
struct installation {
    std::filesystem::path folder;

    explicit installation(const char *file)
    {
        char name[] = "oem_config_fuzz-XXXXXX";
        folder = std::filesystem::absolute(mkdtemp(name));
        std::filesystem::create_directory(folder / "share");
        std::filesystem::create_symlink(file, folder / "share" / "OEM.ini");
    }
    installation(const installation &) = delete;
    installation &operator=(const installation &) = delete;
    ~installation()
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
};

template<size_t SIZE>
void require_text(const char (&text)[SIZE])
{
    if (strnlen(text, SIZE) == SIZE || strchr(text, '\n') != nullptr)
        abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const installation installed(input_file(data, size));
    static const std::string program = installed.folder / "bin" / "devscout";
    input_file(data, size);
    if (read_oem_config(program.c_str()) != 0 || actx.model_count < 0 || actx.plugin_count < 0 ||
        actx.model_count > OEM_MAX_MODELS || actx.plugin_count > OEM_MAX_PLUGINS)
        abort();
    require_text(actx.vendor_name);
    require_text(actx.url);
    for (const auto &model : actx.models)
        require_text(model);
    for (const auto &plugin : actx.plugins)
        require_text(plugin);
    if (strcasecmp(actx.vendor_name, actx.vendor_lower) != 0 ||
        strcasecmp(actx.vendor_name, actx.vendor_upper) != 0)
        abort();
    return 0;
}
