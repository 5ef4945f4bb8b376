// The SNMP community that the whole process uses.
#pragma once

constexpr char DEFAULT_COMMUNITY[] = "vesper";

/// The community text; points at the default until option -c sets it. Never null.
extern const char *g_community_name;
