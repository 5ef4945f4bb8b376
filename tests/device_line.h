// Lines for a device, as the program prints them.
#pragma once

#include <algorithm>
#include <string>

/// The address, padded to its column, then `rest`.
inline std::string line_of(const std::string &ip, const std::string &rest)
{
    return "ip: " + ip + std::string(15 - std::min<size_t>(ip.size(), 15), ' ') + " " + rest + "\n";
}
