// The discovery methods, in the order in which they run and are started.
#pragma once

enum method_id {
    METHOD_NODEQ,
    METHOD_NODEQ6,
    METHOD_SLP,
    METHOD_SNMP,
    METHOD_SNMP6,
    METHOD_COUNT,
};

struct method_info {
    const char *word; ///< "--WORD" selects the method
    int slot;         ///< the parent's child slot for it
};

/// By `method_id`.
constexpr method_info METHODS[METHOD_COUNT] = {
    {"nodeq", 3}, {"nodeq6", 4}, {"slp", 2}, {"snmp", 0}, {"snmp6", 1},
};
