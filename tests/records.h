// A list that is freed with the test.
#pragma once

#include "records/device_list.h"

#include <string>

struct test_list {
    list_node *head = nullptr;

    ~test_list()
    {
        list_free(&head);
    }

    /// The record of an address, which is added where there is none.
    device_record *device(const std::string &ip)
    {
        return device_list_find_or_add(&head, ip.c_str());
    }
};

/// Each record, as `text_of` writes it, with a blank between each two.
template<typename Record>
std::string joined(const list_node *node, std::string (*text_of)(const Record &))
{
    std::string text;
    for (; node != nullptr; node = node->next)
        text += (text.empty() ? "" : " ") + text_of(*static_cast<const Record *>(node->data));
    return text;
}

inline std::string ip_of(const device_record &record)
{
    return record.ip;
}
