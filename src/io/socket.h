// Socket options that several methods ask for.
#pragma once

/// Asks for a receive buffer of 4 MiB, so that a burst of answers from a thousand devices fits;
/// where the system grants less, it stays less.
void enlarge_receive_buffer(int socket_fd);
