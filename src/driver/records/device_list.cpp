// One record a device, and the list of them, keyed by address text.
#include "driver/records/device_list.h"

#include "config/text.h"

#include <cstring>

device_record *device_list_find_or_add(device_list *list, const char *ip)
{
    list_node **link = list;
    for (; *link != nullptr; link = &(*link)->next) {
        auto *record = static_cast<device_record *>((*link)->data);
        if (strcmp(record->ip, ip) == 0)
            return record;
    }
    // Appended to the end that the walk has reached, the list is walked once.
    auto *record = static_cast<device_record *>(list_append_zeroed(link, sizeof(device_record)));
    if (record != nullptr)
        safe_strncpy(record->ip, ip, sizeof record->ip);
    return record;
}
