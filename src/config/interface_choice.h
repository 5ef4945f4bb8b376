// The interface that alone is asked.
#pragma once

/// Its name, as the command line gives it; nullptr: all usable ones are asked.
extern const char *g_interface_name;
