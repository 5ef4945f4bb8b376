// The keys of a fleet file and what their values may be.
#pragma once

#include <string>
#include <string_view>

/// Checks one `key=value` of a device, or a key without a value. Returns an empty text, or what is
/// wrong.
std::string fleet_check_key(std::string_view key, bool has_value, std::string_view value);
