// The host's Ethernet interfaces and their addresses.
#include "netif/interfaces.h"

#include "netif/ifconfig.h"
#include "netif/system_interfaces.h"

#include <unistd.h>

namespace
{

constexpr char IFCONFIG_PATH[] = "/sbin/ifconfig";
constexpr char IFCONFIG_SOURCE[] = "exec:/sbin/ifconfig";

} // namespace

int enumerate_interfaces(list_node **interfaces)
{
    const bool has_ifconfig = access(IFCONFIG_PATH, X_OK) == 0;
    if (!has_ifconfig || enumerate_interfaces_from(interfaces, IFCONFIG_SOURCE) == 0)
        enumerate_system_interfaces(interfaces);
    return 0;
}
