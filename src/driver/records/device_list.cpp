// One record a device, and the list of them, keyed by address text.
#include "driver/records/device_list.h"

#include "config/text.h"

#include <cstring>

device_record *device_list_find_or_add(device_list *list, const char *ip)
{
    for (list_node *node = *list; node != nullptr; node = node->next) {
        auto *record = static_cast<device_record *>(node->data);
        if (strcmp(record->ip, ip) == 0)
            return record;
    }
    auto *record = static_cast<device_record *>(list_append_zeroed(list, sizeof(device_record)));
    if (record != nullptr)
        safe_strncpy(record->ip, ip, sizeof record->ip);
    return record;
}
