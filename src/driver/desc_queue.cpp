// The parent's queue of addresses that wait for a description or scanner inquiry child.
#include "driver/desc_queue.h"

#include "config/text.h"

#include <cstring>

desc_request *desc_queue_add(desc_queue *queue, const char *ip, int scanner)
{
    for (list_node *node = *queue; node != nullptr; node = node->next) {
        auto *entry = static_cast<desc_request *>(node->data);
        if (strcmp(entry->ip, ip) == 0)
            return entry;
    }
    auto *entry = static_cast<desc_request *>(list_append_zeroed(queue, sizeof(desc_request)));
    if (entry == nullptr)
        return nullptr;
    safe_strncpy(entry->ip, ip, sizeof entry->ip);
    entry->describe = scanner != 0 ? 0 : 1;
    return entry;
}
