// Fuzzes the reader of OEM.ini, as an installation's file that leads to the input.
#include "config/oem_config.h"
#include "input_file.h"

#include <cstring>
#include <filesystem>

namespace
{

std::filesystem::path installation;

void make_installation(const char *file)
{
    char name[] = "oem_config_fuzz-XXXXXX";
    installation = std::filesystem::absolute(mkdtemp(name));
    std::filesystem::create_directory(installation / "share");
    std::filesystem::create_symlink(file, installation / "share" / "OEM.ini");
    atexit([] { std::filesystem::remove_all(installation); });
}

template<size_t SIZE>
bool is_text(const char (&text)[SIZE])
{
    return strnlen(text, SIZE) < SIZE && strchr(text, '\n') == nullptr;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const char *file = input_file(data, size);
    if (installation.empty())
        make_installation(file);
    bool good = read_oem_config((installation / "bin" / "devscout").c_str()) == 0 &&
                actx.model_count >= 0 && actx.model_count <= OEM_MAX_MODELS &&
                actx.plugin_count >= 0 && actx.plugin_count <= OEM_MAX_PLUGINS &&
                is_text(actx.vendor_name) && is_text(actx.url) &&
                strcasecmp(actx.vendor_name, actx.vendor_lower) == 0 &&
                strcasecmp(actx.vendor_name, actx.vendor_upper) == 0;
    for (const auto &model : actx.models)
        good = good && is_text(model);
    for (const auto &plugin : actx.plugins)
        good = good && is_text(plugin);
    if (!good)
        abort();
    return 0;
}
