// One record per device, and the list of them, keyed by address text.
#include "records/device_list.h"

device_record *device_list_find_or_add(device_list *list, const char *ip, address_index *index)
{
    return static_cast<device_record *>(address_list_find_or_add(
        list, index, ip, sizeof(device_record), offsetof(device_record, ip)));
}
