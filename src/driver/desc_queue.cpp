// The parent's queue of addresses that wait for a description or scanner inquiry child.
#include "driver/desc_queue.h"

#include "config/text.h"

#include <cstring>

desc_request *desc_queue_add(desc_queue *queue, const char *ip, int scanner)
{
    list_node **link = queue;
    for (; *link != nullptr; link = &(*link)->next) {
        auto *entry = static_cast<desc_request *>((*link)->data);
        if (strcmp(entry->ip, ip) == 0)
            return entry;
    }
    auto *entry = static_cast<desc_request *>(list_append_zeroed(link, sizeof(desc_request)));
    if (entry == nullptr)
        return nullptr;
    safe_strncpy(entry->ip, ip, sizeof entry->ip);
    entry->describe = scanner != 0 ? 0 : 1;
    return entry;
}
