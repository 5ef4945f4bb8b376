// The singly linked list that all lists of the program are made of.
#include "records/list.h"

#include <cstdio>
#include <cstdlib>
#include <new>

namespace
{

void free_node(list_node *node)
{
    if (node->owns_data != 0)
        list_free_data(node->data);
    delete node;
}

} // namespace

void list_init(list_node **head)
{
    *head = nullptr;
}

int list_append(list_node **head, void *data, int owns_data)
{
    auto *node = new (std::nothrow) list_node{nullptr, data, owns_data, nullptr};
    if (node == nullptr)
        return -1;
    list_node **link = head;
    while (*link != nullptr)
        link = &(*link)->next;
    *link = node;
    return 0;
}

void list_free(list_node **head)
{
    list_node *node = *head;
    while (node != nullptr) {
        list_node *next = node->next;
        free_node(node);
        node = next;
    }
    *head = nullptr;
}

void list_remove_if(list_node **head, bool (*matches)(const void *data))
{
    list_node **link = head;
    while (*link != nullptr) {
        list_node *node = *link;
        if (matches(node->data)) {
            *link = node->next;
            free_node(node);
        } else {
            link = &node->next;
        }
    }
}

void *list_new_data(size_t size)
{
    return calloc(1, size);
}

void list_free_data(void *data)
{
    free(data);
}

void *list_append_zeroed(list_node **head, size_t size)
{
    void *data = list_new_data(size);
    if (data == nullptr) {
        puts("# ERROR: can not allocate list node data");
        return nullptr;
    }
    if (list_append(head, data, 1) != 0)
        puts("# ERROR: can not allocate list node");
    return data;
}
