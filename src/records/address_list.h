// Lists whose entries are keyed by address text, and an index beside such a list.
#pragma once

#include "records/list.h"

#include <cstddef>

constexpr size_t IP_SIZE = 40; ///< an address text of at most 39 characters

constexpr size_t ADDRESS_BUCKETS = 1 << 14;

/// Lets a list of many thousand entries be searched and appended to without a walk. Of a fixed
/// size, it needs no memory of its own. All zero it belongs to an empty list. Every entry of its
/// list must be added with it, and none be removed while it is used.
struct address_index {
    list_node *last; ///< of the list; nullptr: it is empty
    list_node *buckets[ADDRESS_BUCKETS];
};

/// Finds the first entry whose key, IP_SIZE bytes at `key_offset`, equals `ip`; where there is
/// none, appends `size` zeroed bytes, owned by the list, with that key. A longer key is stored cut
/// to 39 characters and equals none. Without an index the list is walked. `*added` tells which it
/// was; nullptr: nobody asks. Returns the entry; without memory as `list_append_zeroed`.
void *address_list_find_or_add(list_node **list, address_index *index, const char *ip, size_t size,
                               size_t key_offset, bool *added = nullptr);
