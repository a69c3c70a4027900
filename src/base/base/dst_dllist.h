// dst_dllist.h - doubly linked lists of the caller's own records.
//
// A node is any record whose first two words are its links, next and previous (null at the ends);
// the list neither allocates nor frees nodes.
#pragma once

#include <cstdint>

#include "base/base/dst_list.h" // the function types
#include "base/base/word.h"

struct dst_dllist {
    void *first;
    void *last;
    int32_t count;
};

static_assert(sizeof(void *) != 4 || sizeof(dst_dllist) == 12);

// A new empty head, from the system or carved from an arena. Null, reported, when memory ran out.
dst_dllist *dst_dllist_create();
dst_dllist *dst_dllist_create_in(dst_arena *arena);

// Empties a head without looking at what it holds.
void dst_dllist_init(dst_dllist *list);

// Gives back a head made by dst_dllist_create; the nodes stay the caller's.
void dst_dllist_destroy(dst_dllist *list);

void dst_dllist_append(dst_dllist *list, void *node);
void dst_dllist_prepend(dst_dllist *list, void *node);

// Inserts a node before the first one that it does not go after, so before its equals.
void dst_dllist_insert_sorted(dst_dllist *list, void *node, dst_compare compare);

// Removals clear the node's links and return the node, or null when the list is empty. The node to
// remove must be in the list.
void *dst_dllist_remove(dst_dllist *list, void *node);
void *dst_dllist_pop_first(dst_dllist *list);
void *dst_dllist_pop_last(dst_dllist *list);

// Calls a function on every node from start_node on (null: from the end where the walk starts),
// towards the first when backward is non-zero. A function that returns 0 ends the walk if stop_flag
// is non-zero. The following node is read after the call: a function that removes the visited node
// ends the walk, one that removes a neighbour does no harm. Returns 0 for an empty list, else 1.
int dst_dllist_walk(dst_dllist *list, void *start_node, int backward, dst_node_function function,
                    void *arg, int stop_flag);

inline void *dst_dllist_first(const dst_dllist *list) { return list->first; }
inline void *dst_dllist_last(const dst_dllist *list) { return list->last; }
inline int32_t dst_dllist_count(const dst_dllist *list) { return list->count; }

inline void *dst_dllist_next(const void *node) { return zor::load_word(node, 0); }
inline void *dst_dllist_prev(const void *node) { return zor::load_word(node, 1); }

// The next node, or the first when the node is null: starts and continues a loop alike.
inline void *dst_dllist_next_or_first(const dst_dllist *list, const void *node) {
    return node == nullptr ? list->first : dst_dllist_next(node);
}
