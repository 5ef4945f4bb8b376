// Fuzzes the reader of OEM.ini, as an installation's file that leads to the input.
#include "config/oem_config.h"
#include "input_file.h"

#include <algorithm>
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

template<size_t COUNT, size_t SIZE>
bool are_texts(const char (&texts)[COUNT][SIZE])
{
    return std::all_of(texts, texts + COUNT, is_text<SIZE>);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const char *file = input_file(data, size);
    if (installation.empty())
        make_installation(file);
    if (read_oem_config((installation / "bin" / "devscout").c_str()) != 0 || actx.model_count < 0 ||
        actx.model_count > OEM_MAX_MODELS || actx.plugin_count < 0 ||
        actx.plugin_count > OEM_MAX_PLUGINS || !is_text(actx.vendor_name) || !is_text(actx.url) ||
        !are_texts(actx.models) || !are_texts(actx.plugins) ||
        strcasecmp(actx.vendor_name, actx.vendor_lower) != 0 ||
        strcasecmp(actx.vendor_name, actx.vendor_upper) != 0)
        abort();
    return 0;
}
