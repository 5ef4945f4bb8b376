// The interface that alone is asked.
#include "config/interface_choice.h"

#include <cstring>
#include <sys/socket.h>

const char *g_interface_name = nullptr;

int keep_to_interface(int socket_fd)
{
    if (g_interface_name == nullptr)
        return 0;
    return setsockopt(socket_fd, SOL_SOCKET, SO_BINDTODEVICE, g_interface_name,
                      static_cast<socklen_t>(strlen(g_interface_name)));
}
