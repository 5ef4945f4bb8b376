// What stands behind an SLPHandle.
#pragma once

#include "slp/agent/settings.h"

#include <string>

struct slp_agent {
    slp_settings settings; ///< read when the handle is opened
    std::string language;
    bool in_use = false; ///< a search is running
};
