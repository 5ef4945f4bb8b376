// One record per device, and the list of them, keyed by address text.
#include "records/device_list.h"

#include "config/text.h"

#include <cstring>

device_record *device_list_find_or_add(device_list *list, const char *ip)
{
    // Padded as the records' addresses are, the key is compared in a few words of the processor. A
    // longer one equals no address.
    char key[IP_SIZE];
    safe_strncpy(key, ip, sizeof key);
    const bool fits = strlen(ip) < sizeof key;
    list_node **link = list;
    for (; *link != nullptr; link = &(*link)->next) {
        auto *record = static_cast<device_record *>((*link)->data);
        if (memcmp(record->ip, key, sizeof key) == 0 && fits)
            return record;
    }
    // Appended to the end that the walk has reached, the list is walked once.
    auto *record = static_cast<device_record *>(list_append_zeroed(link, sizeof(device_record)));
    if (record != nullptr)
        safe_strncpy(record->ip, ip, sizeof record->ip);
    return record;
}
