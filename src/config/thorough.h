// Whether the whole process asks as often as it takes in a network that loses packets.
#pragma once

/// False until option --thorough sets it.
extern bool g_thorough;
