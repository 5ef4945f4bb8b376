// The parent's queue of addresses that wait for a description or scanner inquiry child.
#pragma once

#include "records/device_list.h"
#include "records/list.h"

#include <cstdint>

/// One queued address.
struct desc_request {
    char ip[IP_SIZE]; ///< the key of the queue
    int32_t started;  ///< 1: a child was started for it; it is never started again
    int32_t describe; ///< 1: start a description child, 0: a scanner inquiry child
};

/// A list whose nodes carry `desc_request`s, in the order of queueing.
using desc_queue = list_node *;

/// Returns the entry whose `ip` equals `ip`, its flags untouched, adding one at the tail when
/// there is none: a scanner inquiry when `scanner` is nonzero, else a description. The queue owns
/// the entry. Returns nullptr, after a message on standard output, when there is no memory.
desc_request *desc_queue_add(desc_queue *queue, address_index *index, const char *ip, int scanner);
