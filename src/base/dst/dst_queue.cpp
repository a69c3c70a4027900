// dst_queue.cpp - double-ended queues of opaque words.
#include "base/dst/dst_queue.h"

#include "base/base/dst_malloc.h"

namespace {

// Released cells of all queues; they wait until dst_queue_purge.
dst_freelist cells;

dst_queue *new_cell(void *data) {
    auto *cell = static_cast<dst_queue *>(dst_freelist_alloc(&cells, sizeof(dst_queue)));
    if (cell != nullptr)
        *cell = {cell, cell, data};
    return cell;
}

void release_cell(dst_queue *cell) { cells.head = dst_freelist_release(cell, cells.head); }

dst_queue *insert_after(dst_queue *place, void *data) {
    dst_queue *cell = new_cell(data);
    if (cell == nullptr)
        return nullptr;
    cell->next = place->next;
    cell->prev = place;
    place->next->prev = cell;
    place->next = cell;
    return cell;
}

// Takes a cell out of its queue; null when it is the sentinel.
void *take(dst_queue *queue, dst_queue *cell) {
    if (cell == queue)
        return nullptr;
    void *data = cell->data;
    cell->prev->next = cell->next;
    cell->next->prev = cell->prev;
    release_cell(cell);
    return data;
}

} // namespace

dst_queue *dst_queue_create() { return new_cell(nullptr); }

dst_queue *dst_queue_push_front(dst_queue *queue, void *data) { return insert_after(queue, data); }

dst_queue *dst_queue_push_back(dst_queue *queue, void *data) {
    return insert_after(queue->prev, data);
}

void *dst_queue_pop_front(dst_queue *queue) { return take(queue, queue->next); }

void *dst_queue_pop_back(dst_queue *queue) { return take(queue, queue->prev); }

void *dst_queue_remove(dst_queue *queue, void *data) {
    dst_queue *cell = queue->next;
    while (cell != queue && cell->data != data)
        cell = cell->next;
    return take(queue, cell);
}

int32_t dst_queue_count(const dst_queue *queue) {
    int32_t count = 0;
    for (const dst_queue *cell = queue->next; cell != queue; cell = cell->next)
        ++count;
    return count;
}

int dst_queue_is_empty(const dst_queue *queue) {
    return queue->next == queue && queue->prev == queue ? 1 : 0;
}

int32_t dst_queue_walk(dst_queue *queue, dst_data_function function, void *arg) {
    int32_t passed = 0;
    for (dst_queue *cell = queue->next; cell != queue; ++passed) {
        dst_queue *next = cell->next; // the cell may go
        if (function != nullptr && function(cell->data, arg) == 0)
            break;
        cell = next;
    }
    return passed;
}

int32_t dst_queue_destroy(dst_queue *queue, dst_data_function function, void *arg) {
    int32_t count = 0;
    for (; queue->next != queue; ++count) {
        if (function != nullptr)
            function(queue->next->data, arg);
        take(queue, queue->next);
    }
    release_cell(queue);
    return count;
}

void dst_queue_purge() { cells.head = dst_freelist_purge(cells.head); }
