// Socket addresses and options that several methods need.
#include "io/socket.h"

#include <sys/socket.h>

struct sockaddr_in ipv4_socket_address(struct in_addr address, uint16_t port)
{
    struct sockaddr_in result = {};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    result.sin_addr = address;
    return result;
}

void enlarge_receive_buffer(int socket_fd)
{
    constexpr int RECEIVE_BUFFER_SIZE = 4 << 20;
    const int size = RECEIVE_BUFFER_SIZE;
    // The forced form passes the system's limit, where the process may.
    if (setsockopt(socket_fd, SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof size) != 0)
        setsockopt(socket_fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
}
