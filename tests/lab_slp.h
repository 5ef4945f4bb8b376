// Device lines of printers that only SLP has found.
#pragma once

#include <algorithm>
#include <string>

/// The line of an address, padded to its column, with these numbers.
inline std::string announced(const std::string &ip, const std::string &slp)
{
    return "ip: " + ip + std::string(15 - std::min<size_t>(ip.size(), 15), ' ') + " slp: " + slp +
           " snmp: 0,0,0 vendor:  dsc: \"\"\n";
}
