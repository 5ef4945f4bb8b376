// Lists whose entries are keyed by address text, and an index beside such a list.
#include "records/address_list.h"

#include "config/text.h"

#include <cstdint>
#include <cstring>

namespace
{

/// FNV-1a: the texts differ in few characters, mostly the last ones.
size_t bucket_of(const char *key)
{
    uint32_t hash = 2166136261U;
    for (; *key != '\0'; ++key)
        hash = (hash ^ static_cast<unsigned char>(*key)) * 16777619U;
    return (hash ^ hash >> 16) % ADDRESS_BUCKETS;
}

} // namespace

void *address_list_find_or_add(list_node **list, address_index *index, const char *ip, size_t size,
                               size_t key_offset, bool *added)
{
    // Padded as the entries' keys are, the key is compared in a few words of the processor.
    char key[IP_SIZE] = "";
    append_text(key, ip, sizeof key);
    const bool fits = strlen(ip) < sizeof key;
    list_node **link = index == nullptr ? list : &index->buckets[bucket_of(key)];
    if (added != nullptr)
        *added = false;
    while (*link != nullptr) {
        if (fits && memcmp(static_cast<char *>((*link)->data) + key_offset, key, sizeof key) == 0)
            return (*link)->data;
        link = index == nullptr ? &(*link)->next : &(*link)->next_in_bucket;
    }
    // Without an index the walk has reached the end of the list.
    list_node **end = link;
    if (index != nullptr)
        end = index->last == nullptr ? list : &index->last->next;
    void *data = list_append_zeroed(end, size);
    if (data == nullptr)
        return nullptr;
    memcpy(static_cast<char *>(data) + key_offset, key, sizeof key);
    if (added != nullptr)
        *added = true;
    if (index != nullptr && *end != nullptr)
        *link = index->last = *end;
    return data;
}
