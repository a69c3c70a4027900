// dst_queue.h - double-ended queues of opaque words.
//
// A queue is a ring of cells closed by a sentinel; the queue is its sentinel. Cells come from a
// free list shared by all queues.
#pragma once

#include <cstdint>

struct dst_queue {
    dst_queue *next;
    dst_queue *prev;
    void *data; // null in the sentinel
};

static_assert(sizeof(dst_queue) == 3 * sizeof(void *));

using dst_data_function = int (*)(void *data, void *arg);

// A new empty queue. Null, reported, when memory ran out.
dst_queue *dst_queue_create();

// Add data at an end. Return the cell; null, reported, when memory ran out.
dst_queue *dst_queue_push_front(dst_queue *queue, void *data);
dst_queue *dst_queue_push_back(dst_queue *queue, void *data);

// Take data off an end; null when the queue is empty.
void *dst_queue_pop_front(dst_queue *queue);
void *dst_queue_pop_back(dst_queue *queue);

// Takes out the first cell, from the front, with that data. Returns the data; null when there is no
// such cell.
void *dst_queue_remove(dst_queue *queue, void *data);

// Number of cells; walks the queue.
int32_t dst_queue_count(const dst_queue *queue);

// 1 when the queue is empty, else 0.
int dst_queue_is_empty(const dst_queue *queue);

// Calls a function on the data from the front until it returns 0. The function may remove the cell
// it is called for, but no other, and may be null. Returns the number of cells passed before the
// stop, or of all.
int32_t dst_queue_walk(dst_queue *queue, dst_data_function function, void *arg);

// Calls a function (may be null) on all data from the front, and releases cells and queue. The
// function must leave the queue alone. Returns the number of cells.
int32_t dst_queue_destroy(dst_queue *queue, dst_data_function function, void *arg);

// Frees the cells waiting for the next queue.
void dst_queue_purge();
