// The parent's queue of addresses that wait for a description or scanner inquiry child.
#include "driver/desc_queue.h"

#include <cstddef>

desc_request *desc_queue_add(desc_queue *queue, address_index *index, const char *ip, int scanner)
{
    bool added = false;
    auto *entry = static_cast<desc_request *>(address_list_find_or_add(
        queue, index, ip, sizeof(desc_request), offsetof(desc_request, ip), &added));
    if (added)
        entry->describe = scanner != 0 ? 0 : 1;
    return entry;
}
