// Device lines of printers that only SLP has found.
#pragma once

#include "device_line.h"

inline std::string announced(const std::string &ip, const std::string &slp)
{
    return line_of(ip, "slp: " + slp + " snmp: 0,0,0 vendor:  dsc: \"\"");
}
