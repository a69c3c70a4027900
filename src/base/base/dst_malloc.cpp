// dst_malloc.cpp - free lists.
#include "base/base/dst_malloc.h"

#include "base/base/word.h"
#include "zor/err.h"

void *dst_freelist_alloc(dst_freelist *list, size_t size) {
    if (list->head == nullptr)
        return ERR_malloc(size); // reports for us
    void *block = list->head;
    list->head = zor::load_word(block);
    return block;
}

void *dst_freelist_release(void *block, void *head) {
    if (block == nullptr)
        return head;
    zor::store_word(block, head);
    return block;
}

void *dst_freelist_purge(void *head) {
    while (head != nullptr) {
        void *next = zor::load_word(head);
        ERR_free(head);
        head = next;
    }
    return nullptr;
}
