// The vendor configuration file "OEM.ini" of the installation.
#include "config/oem_config.h"

#include "config/text.h"
#include "io/stream.h"

#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

oem_config actx;

namespace
{

constexpr char FILE_NAME[] = "OEM.ini";
constexpr size_t LINE_SIZE = 512;

void set_vendor(const char *value)
{
    safe_strncpy(actx.vendor_name, value, sizeof actx.vendor_name);
    str_tolower(actx.vendor_name, actx.vendor_lower, sizeof actx.vendor_lower);
    str_toupper(actx.vendor_name, actx.vendor_upper, sizeof actx.vendor_upper);
}

void set_url(const char *value)
{
    safe_strncpy(actx.url, value, sizeof actx.url);
}

void add_model(const char *value)
{
    if (actx.model_count < OEM_MAX_MODELS)
        safe_strncpy(actx.models[actx.model_count++], value, sizeof actx.models[0]);
}

void add_plugin(const char *value)
{
    if (actx.plugin_count < OEM_MAX_PLUGINS)
        safe_strncpy(actx.plugins[actx.plugin_count++], value, sizeof actx.plugins[0]);
}

struct number_key {
    const char *key;
    int32_t oem_config::*field;
    int32_t otherwise; ///< where a file does not hold the key
};

struct text_key {
    const char *key;
    void (*store)(const char *value);
};

/// The first key that occurs anywhere in a line takes it, numbers before texts. A key that
/// contains another one's text stands before it.
constexpr number_key NUMBER_KEYS[] = {
    {"MULTIVENDOR=", &oem_config::multivendor, 0},
    {"PARPORT=", &oem_config::parport, 1},
    {"PORTPLUGIN=", &oem_config::portplugin, 1},
    {"SCANNER=", &oem_config::scanner, 1},
    {"UPDATE_PRINTER_GROUP=", &oem_config::update_printer_group, 1},
};
constexpr text_key TEXT_KEYS[] = {
    {"VENDOR=", set_vendor},
    {"URL=", set_url},
    {"MODEL=", add_model},
    {"PLUGIN=", add_plugin},
};

/// Whether `key` holds one of the first `count` keys of a table that is searched before.
template<typename Key, size_t COUNT>
constexpr bool is_hidden(std::string_view key, const Key (&earlier)[COUNT], size_t count = COUNT)
{
    for (size_t i = 0; i < count; ++i) {
        if (key.find(earlier[i].key) != std::string_view::npos)
            return true;
    }
    return false;
}

constexpr bool is_each_key_met()
{
    for (size_t i = 0; i < std::size(NUMBER_KEYS); ++i) {
        if (is_hidden(NUMBER_KEYS[i].key, NUMBER_KEYS, i))
            return false;
    }
    for (size_t i = 0; i < std::size(TEXT_KEYS); ++i) {
        if (is_hidden(TEXT_KEYS[i].key, NUMBER_KEYS) || is_hidden(TEXT_KEYS[i].key, TEXT_KEYS, i))
            return false;
    }
    return true;
}

static_assert(is_each_key_met(), "an earlier key takes the lines of one that contains its text");

/// Returns the text behind `key` in `line`, or nullptr when the line does not hold the key.
const char *value_of(const char *line, const char *key)
{
    const char *found = strstr(line, key);
    return found == nullptr ? nullptr : found + strlen(key);
}

void read_line(const char *line)
{
    for (const number_key &number : NUMBER_KEYS) {
        if (const char *value = value_of(line, number.key)) {
            actx.*number.field = decimal_value(value);
            return;
        }
    }
    for (const text_key &text : TEXT_KEYS) {
        if (const char *value = value_of(line, text.key)) {
            text.store(value);
            return;
        }
    }
}

void find_directories(const char *program)
{
    safe_strncpy(actx.program_dir, program_path(program), sizeof actx.program_dir);
    cut_last_component(actx.program_dir);
    safe_strncpy(actx.base_dir, actx.program_dir, sizeof actx.base_dir);
    cut_last_component(actx.base_dir);
    safe_strncpy(actx.share_dir, actx.base_dir, sizeof actx.share_dir);
    append_text(actx.share_dir, "/share", sizeof actx.share_dir);
}

file_stream open_oem_file()
{
    file_stream file = open_regular_file(path_join_static(actx.share_dir, FILE_NAME));
    if (!file)
        file = open_regular_file(path_join_static(actx.base_dir, FILE_NAME));
    if (!file)
        file = open_regular_file(FILE_NAME);
    return file;
}

} // namespace

int read_oem_config(const char *program)
{
    find_directories(program);
    const file_stream file = open_oem_file();
    if (!file)
        return -1;
    actx.model_count = 0;
    actx.plugin_count = 0;
    for (const number_key &number : NUMBER_KEYS)
        actx.*number.field = number.otherwise;
    char line[LINE_SIZE];
    while (fgets(line, sizeof line, file.get()) != nullptr)
        read_line(strip_newline(line));
    return 0;
}
