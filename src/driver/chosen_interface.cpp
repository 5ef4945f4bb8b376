// Whether the interface that the command line names can be asked.
#include "driver/chosen_interface.h"

#include "config/interface_choice.h"
#include "config/printable.h"
#include "io/interfaces.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

int check_chosen_interface()
{
    if (g_interface_name == nullptr)
        return 0;
    if (g_interface_name[0] == '\0') {
        fputs("devscout: --interface needs the name of an interface\n", stderr);
        return -1;
    }
    const host_interface_list list = list_host_interfaces();
    if (!list) {
        fprintf(stderr, "devscout: the interfaces cannot be listed: %s\n", strerror(errno));
        return -1;
    }
    const host_interface *chosen = find_host_interface(list.get(), g_interface_name);
    if (chosen != nullptr && is_asked(*chosen, g_interface_name))
        return 0;
    char name[256]; // a longer one is shown cut
    printable_text(name, g_interface_name, sizeof name);
    if (chosen == nullptr)
        fprintf(stderr, "devscout: there is no interface '%s'\n", name);
    else if ((chosen->flags & IFF_LOOPBACK) != 0)
        fprintf(stderr, "devscout: '%s' is the loopback, where nobody can be asked\n", name);
    else
        fprintf(stderr, "devscout: the interface '%s' is down\n", name);
    return -1;
}
