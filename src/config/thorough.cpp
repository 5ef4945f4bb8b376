// Whether the whole process asks as often as it takes in a network that loses packets.
#include "config/thorough.h"

bool g_thorough = false;
