// dst_list.h - singly linked lists of the caller's own records.
//
// A node is any record whose first word is its link (null at the tail); the list neither allocates
// nor frees nodes. The head has a cursor, which the step and walk operations share.
#pragma once

#include <cstdint>

struct dst_arena;

struct dst_list {
    void *first;
    void *last;
    void *cursor; // null, or where dst_list_step and dst_list_walk stand
    int32_t count;
};

static_assert(sizeof(void *) != 4 || sizeof(dst_list) == 16);

// Called on a node with the argument given to the operation.
using dst_node_function = int (*)(void *node, void *arg);

// The order of two nodes: negative when a goes before b, 0 when they are equal, positive when a
// goes after b. Sorted inserts pass a node of the list and the node being inserted.
using dst_compare = int (*)(const void *a, const void *b);

// A new empty head, from the system or carved from an arena. Null, reported, when memory ran out.
dst_list *dst_list_create();
dst_list *dst_list_create_in(dst_arena *arena);

// Empties a head without looking at what it holds.
void dst_list_init(dst_list *list);

// Gives back a head made by dst_list_create; the nodes stay the caller's.
void dst_list_destroy(dst_list *list);

void dst_list_append(dst_list *list, void *node);
void dst_list_prepend(dst_list *list, void *node);

// Inserts a node before the first one that it does not go after, so before its equals. An equal
// node is refused when allow_equal is 0. Returns whether the node was inserted; a refused one stays
// the caller's.
bool dst_list_insert_sorted(dst_list *list, void *node, dst_compare compare, int allow_equal);

// Removals return the node, or null when the list is empty or the node is not in it. The node's
// link keeps its value. Removing the only node clears the cursor; otherwise the cursor stays, even
// on the removed node. All but dst_list_pop_first take time in proportion to the list.
void *dst_list_remove(dst_list *list, void *node);
void *dst_list_pop_first(dst_list *list);
void *dst_list_pop_last(dst_list *list);

// Calls a function on every node from the first on, the cursor on the node visited. A function that
// returns 0 ends the walk, with the cursor left there, if stop_flag is non-zero. The next node is
// read after the call: the function may remove the node, but must not free it. Returns 0 for an
// empty list, else 1; after a full walk the cursor is null.
int dst_list_walk(dst_list *list, dst_node_function function, void *arg, int stop_flag);

// Walks to the first node for which the function returns 0 and returns it; null when there is none.
void *dst_list_find(dst_list *list, dst_node_function function, void *arg);

inline void *dst_list_first(const dst_list *list) { return list->first; }
inline void *dst_list_last(const dst_list *list) { return list->last; }
inline int32_t dst_list_count(const dst_list *list) { return list->count; }

// The cursor. dst_list_step returns it and moves it to the next node; null at the end.
inline void dst_list_rewind(dst_list *list) { list->cursor = list->first; }
void *dst_list_step(dst_list *list);
inline void *dst_list_get_cursor(const dst_list *list) { return list->cursor; }
inline void dst_list_set_cursor(dst_list *list, void *node) { list->cursor = node; }
