// The SNMP community that the whole process uses.
#include "config/community.h"

const char *g_community_name = DEFAULT_COMMUNITY;
