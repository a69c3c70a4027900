// dst_list.cpp - singly linked lists.
#include "base/base/dst_list.h"

#include "base/base/dst_memory.h"
#include "base/base/word.h"
#include "zor/err.h"

namespace {

void *next_of(const void *node) { return zor::load_word(node); }
void set_next(void *node, void *next) { zor::store_word(node, next); }

void insert_after(dst_list *list, void *previous, void *node) {
    set_next(node, next_of(previous));
    set_next(previous, node);
    ++list->count;
}

// The node before a node; null when the node is not in the list, or its first.
void *predecessor(const dst_list *list, const void *node) {
    void *previous = list->first;
    while (previous != nullptr && next_of(previous) != node)
        previous = next_of(previous);
    return previous;
}

dst_list *init_new(void *list) {
    if (list != nullptr)
        dst_list_init(static_cast<dst_list *>(list));
    return static_cast<dst_list *>(list);
}

} // namespace

dst_list *dst_list_create() { return init_new(ERR_malloc(sizeof(dst_list))); }

dst_list *dst_list_create_in(dst_arena *arena) {
    return init_new(dst_arena_alloc(arena, sizeof(dst_list)));
}

void dst_list_init(dst_list *list) { *list = {}; }

void dst_list_destroy(dst_list *list) { ERR_free(list); }

void dst_list_append(dst_list *list, void *node) {
    if (list->first == nullptr) {
        dst_list_prepend(list, node);
        return;
    }
    set_next(node, nullptr);
    set_next(list->last, node);
    list->last = node;
    ++list->count;
}

void dst_list_prepend(dst_list *list, void *node) {
    set_next(node, list->first);
    if (list->first == nullptr)
        list->last = node;
    list->first = node;
    ++list->count;
}

bool dst_list_insert_sorted(dst_list *list, void *node, dst_compare compare, int allow_equal) {
    void *previous = nullptr;
    for (void *at = list->first; at != nullptr; previous = at, at = next_of(at)) {
        const int order = compare(at, node);
        if (order < 0)
            continue;
        if (order == 0 && allow_equal == 0)
            return false;
        if (previous == nullptr)
            dst_list_prepend(list, node);
        else
            insert_after(list, previous, node);
        return true;
    }
    dst_list_append(list, node);
    return true;
}

void *dst_list_remove(dst_list *list, void *node) {
    if (node == nullptr || list->first == nullptr)
        return nullptr;
    if (node == list->first)
        return dst_list_pop_first(list);
    void *previous = predecessor(list, node);
    if (previous == nullptr)
        return nullptr;
    set_next(previous, next_of(node));
    if (node == list->last)
        list->last = previous;
    --list->count;
    return node;
}

void *dst_list_pop_first(dst_list *list) {
    void *node = list->first;
    if (node == nullptr)
        return nullptr;
    if (node == list->last) {
        dst_list_init(list);
        return node;
    }
    list->first = next_of(node);
    --list->count;
    return node;
}

void *dst_list_pop_last(dst_list *list) { return dst_list_remove(list, list->last); }

void *dst_list_step(dst_list *list) {
    void *node = list->cursor;
    if (node != nullptr)
        list->cursor = next_of(node);
    return node;
}

int dst_list_walk(dst_list *list, dst_node_function function, void *arg, int stop_flag) {
    if (list->first == nullptr)
        return 0;
    list->cursor = list->first;
    for (void *node = list->first; node != nullptr;) {
        if (function(node, arg) == 0 && stop_flag != 0)
            break;
        node = next_of(node);
        list->cursor = node;
    }
    return 1;
}

void *dst_list_find(dst_list *list, dst_node_function function, void *arg) {
    return dst_list_walk(list, function, arg, 1) == 0 ? nullptr : list->cursor;
}
