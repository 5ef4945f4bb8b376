// Socket options that several methods ask for.
#include "io/socket.h"

#include <sys/socket.h>

void enlarge_receive_buffer(int socket_fd)
{
    constexpr int RECEIVE_BUFFER_SIZE = 4 << 20;
    const int size = RECEIVE_BUFFER_SIZE;
    // The forced form passes the system's limit, where the process may.
    if (setsockopt(socket_fd, SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size) != 0)
        setsockopt(socket_fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
}
