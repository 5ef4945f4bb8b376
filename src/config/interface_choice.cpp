// The interface that alone is asked.
#include "config/interface_choice.h"

const char *g_interface_name = nullptr;
