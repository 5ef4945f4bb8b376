// The agent's settings, as far as "/etc/slp.conf" can change them.
#include "slp/agent/properties.h"

#include "io/stream.h"
#include "slp/agent/value_list.h"

#include <algorithm>
#include <charconv>

namespace
{

constexpr size_t FILE_SIZE_MAX = size_t{256} * 1024;
constexpr size_t SCOPES_SIZE_MAX = 1024; // a request must still fit a packet
constexpr int32_t WAIT_MAX_MS = 600000;
constexpr int32_t TIMEOUT_MAX_MS = 60000;
constexpr int32_t ALL_RESULTS = -1;

struct number_property {
    const char *name;
    int32_t slp_properties::*field;
    int32_t least;
    int32_t most;
    bool slp_properties::*is_set = nullptr; ///< notes that the file has it
};

constexpr number_property NUMBERS[] = {
    {"net.slp.DADiscoveryMaximumWait", &slp_properties::da_discovery_maximum_wait, 0, WAIT_MAX_MS},
    {"net.slp.multicastMaximumWait", &slp_properties::multicast_maximum_wait, 1, WAIT_MAX_MS,
     &slp_properties::is_multicast_wait_set},
    {"net.slp.multicastTTL", &slp_properties::multicast_ttl, 1, 255},
    {"net.slp.MTU", &slp_properties::mtu, 128, 65535},
};

struct flag_property {
    const char *name;
    bool slp_properties::*field;
};

constexpr flag_property FLAGS[] = {
    {"net.slp.activeDADetection", &slp_properties::active_da_detection},
    {"net.slp.isBroadcastOnly", &slp_properties::is_broadcast_only},
};

/// The RFC knows the first ones; the others are what administrators write.
constexpr const char *TRUE_WORDS[] = {"true", "1", "yes", "on"};
constexpr const char *FALSE_WORDS[] = {"false", "0", "no", "off"};

struct timeouts_property {
    const char *name;
    slp_timeouts slp_properties::*field;
};

constexpr timeouts_property TIMEOUTS[] = {
    {"net.slp.DADiscoveryTimeouts", &slp_properties::da_discovery_timeouts},
    {"net.slp.multicastTimeouts", &slp_properties::multicast_timeouts},
};

struct addresses_property {
    const char *name;
    std::vector<std::string> slp_properties::*field;
};

constexpr addresses_property ADDRESSES[] = {
    {"net.slp.DAAddresses", &slp_properties::da_addresses},
    {"net.slp.interfaces", &slp_properties::interfaces},
};

/// Reads a decimal number that fills the whole text and lies within the range.
bool read_number(std::string_view text, int32_t least, int32_t most, int32_t *number)
{
    int32_t value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value < least || value > most)
        return false;
    *number = value;
    return true;
}

void set_flag(std::string_view value, bool *flag)
{
    const auto is_value = [value](const char *word) { return slp_same_text(value, word); };
    if (std::any_of(std::begin(TRUE_WORDS), std::end(TRUE_WORDS), is_value))
        *flag = true;
    else if (std::any_of(std::begin(FALSE_WORDS), std::end(FALSE_WORDS), is_value))
        *flag = false;
}

void set_timeouts(std::string_view value, slp_timeouts *timeouts)
{
    const std::vector<std::string> items = slp_split_list(value);
    slp_timeouts read;
    if (items.empty() || items.size() > read.ms.size())
        return;
    for (size_t i = 0; i < items.size(); ++i)
        if (!read_number(items[i], 1, TIMEOUT_MAX_MS, &read.ms[i]))
            return;
    read.count = items.size();
    read.is_set = true;
    *timeouts = read;
}

void set_addresses(std::string_view value, std::vector<std::string> *addresses)
{
    *addresses = slp_split_list(value);
    if (addresses->size() > SLP_ADDRESSES_MAX)
        addresses->resize(SLP_ADDRESSES_MAX);
}

void set_scopes(std::string_view value, std::string *scopes)
{
    const std::string joined = slp_join_list(slp_split_list(value));
    if (!joined.empty() && joined.size() <= SCOPES_SIZE_MAX)
        *scopes = joined;
}

void set_max_results(std::string_view value, int32_t *max_results)
{
    int32_t all = 0;
    if (read_number(value, ALL_RESULTS, ALL_RESULTS, &all))
        *max_results = SLP_RESULTS_MAX;
    else
        read_number(value, 1, SLP_RESULTS_MAX, max_results);
}

void set_property(std::string_view name, std::string_view value, slp_properties *properties)
{
    for (const number_property &known : NUMBERS)
        if (slp_same_text(name, known.name) &&
            read_number(value, known.least, known.most, &(properties->*known.field)) &&
            known.is_set != nullptr)
            properties->*known.is_set = true;
    for (const flag_property &known : FLAGS)
        if (slp_same_text(name, known.name))
            set_flag(value, &(properties->*known.field));
    for (const timeouts_property &known : TIMEOUTS)
        if (slp_same_text(name, known.name))
            set_timeouts(value, &(properties->*known.field));
    for (const addresses_property &known : ADDRESSES)
        if (slp_same_text(name, known.name))
            set_addresses(value, &(properties->*known.field));
    if (slp_same_text(name, "net.slp.useScopes"))
        set_scopes(value, &properties->use_scopes);
    if (slp_same_text(name, "net.slp.maxResults"))
        set_max_results(value, &properties->max_results);
}

void set_property_line(std::string_view line, slp_properties *properties)
{
    line = slp_trim(line);
    if (line.empty() || line.front() == '#' || line.front() == ';')
        return;
    // No text with a NUL is a host name or a scope; a binary file has many.
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos || line.find('\0') != std::string_view::npos)
        return;
    set_property(slp_trim(line.substr(0, equals)), slp_trim(line.substr(equals + 1)), properties);
}

} // namespace

void slp_properties_parse(std::string_view text, slp_properties *properties)
{
    while (!text.empty()) {
        const size_t length = text.find('\n');
        set_property_line(text.substr(0, length), properties);
        if (length == std::string_view::npos)
            return;
        text.remove_prefix(length + 1);
    }
}

slp_properties slp_properties_read(const char *path)
{
    slp_properties properties;
    const file_stream file = open_regular_file(path);
    if (!file)
        return properties;
    std::string text(FILE_SIZE_MAX, '\0');
    text.resize(fread(text.data(), 1, text.size(), file.get()));
    // A line that the limit cuts could read as another value than the file holds.
    if (text.size() == FILE_SIZE_MAX)
        text.resize(text.rfind('\n') + 1);
    slp_properties_parse(text, &properties);
    return properties;
}
