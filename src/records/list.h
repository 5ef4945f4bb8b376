// The singly linked list that all lists of the program are made of. A list is its head pointer.
#pragma once

#include <cstddef>

struct list_node {
    list_node *next;
    void *data;
    int owns_data;             ///< nonzero: freeing the node frees `data` too
    list_node *next_in_bucket; ///< for the index of the list, where it has one
};

/// Makes the list empty. Frees nothing.
void list_init(list_node **head);

/// Appends `data` at the tail. Data that the list owns must come from `list_new_data`.
/// Returns 0, or -1 when there is no memory for a node: the list is unchanged, `data` not freed.
int list_append(list_node **head, void *data, int owns_data);

/// Frees every node, and the data of those that own theirs. Leaves the list empty.
void list_free(list_node **head);

/// Unlinks and frees every node whose data `matches`; the others keep their order.
void list_remove_if(list_node **head, bool (*matches)(const void *data));

/// Returns `size` zeroed bytes that a list can own, or nullptr when there is no memory.
void *list_new_data(size_t size);

/// Frees data from `list_new_data` that no list owns.
void list_free_data(void *data);

/// Appends `size` zeroed bytes, owned by the list, and returns them. Without memory for them it
/// prints a message on standard output and returns nullptr; without memory for the node it prints
/// another and returns data that no list holds, so what is written there is never reported.
void *list_append_zeroed(list_node **head, size_t size);
