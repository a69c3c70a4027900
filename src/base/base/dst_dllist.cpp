// dst_dllist.cpp - doubly linked lists.
#include "base/base/dst_dllist.h"

#include "base/base/dst_memory.h"
#include "zor/err.h"

namespace {

void set_next(void *node, void *next) { zor::store_word(node, next, 0); }
void set_prev(void *node, void *prev) { zor::store_word(node, prev, 1); }

// Makes two nodes neighbours; a null one stands for the end of the list on its side.
void join(dst_dllist *list, void *before, void *after) {
    if (before == nullptr)
        list->first = after;
    else
        set_next(before, after);
    if (after == nullptr)
        list->last = before;
    else
        set_prev(after, before);
}

void insert_between(dst_dllist *list, void *before, void *node, void *after) {
    join(list, before, node);
    join(list, node, after);
    ++list->count;
}

dst_dllist *init_new(void *list) {
    if (list != nullptr)
        dst_dllist_init(static_cast<dst_dllist *>(list));
    return static_cast<dst_dllist *>(list);
}

} // namespace

dst_dllist *dst_dllist_create() { return init_new(ERR_malloc(sizeof(dst_dllist))); }

dst_dllist *dst_dllist_create_in(dst_arena *arena) {
    return init_new(dst_arena_alloc(arena, sizeof(dst_dllist)));
}

void dst_dllist_init(dst_dllist *list) { *list = {}; }

void dst_dllist_destroy(dst_dllist *list) { ERR_free(list); }

void dst_dllist_append(dst_dllist *list, void *node) {
    insert_between(list, list->last, node, nullptr);
}

void dst_dllist_prepend(dst_dllist *list, void *node) {
    insert_between(list, nullptr, node, list->first);
}

void dst_dllist_insert_sorted(dst_dllist *list, void *node, dst_compare compare) {
    void *at = list->first;
    while (at != nullptr && compare(at, node) < 0)
        at = dst_dllist_next(at);
    insert_between(list, at == nullptr ? list->last : dst_dllist_prev(at), node, at);
}

void *dst_dllist_remove(dst_dllist *list, void *node) {
    if (list->first == nullptr)
        return nullptr;
    join(list, dst_dllist_prev(node), dst_dllist_next(node));
    set_next(node, nullptr);
    set_prev(node, nullptr);
    --list->count;
    return node;
}

void *dst_dllist_pop_first(dst_dllist *list) { return dst_dllist_remove(list, list->first); }

void *dst_dllist_pop_last(dst_dllist *list) { return dst_dllist_remove(list, list->last); }

int dst_dllist_walk(dst_dllist *list, void *start_node, int backward, dst_node_function function,
                    void *arg, int stop_flag) {
    if (list->first == nullptr)
        return 0;
    void *node = start_node;
    if (node == nullptr)
        node = backward != 0 ? list->last : list->first;
    while (node != nullptr) {
        if (function(node, arg) == 0 && stop_flag != 0)
            break;
        node = backward != 0 ? dst_dllist_prev(node) : dst_dllist_next(node);
    }
    return 1;
}
