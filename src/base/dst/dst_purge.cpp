// dst_purge.cpp - giving back the memory that waits in the library's caches.
#include "base/dst/dst_purge.h"

#include "base/base/dst_memory.h"
#include "base/dst/dst_queue.h"

// Filled by the records' owners as they release them; lives as long as the process.
dst_table_lists dst_tables;

void dst_purge() {
    dst_tables.tree_nodes.head = dst_freelist_purge(dst_tables.tree_nodes.head);
    dst_queue_purge();
    dst_string_purge();
    dst_tables.entries.head = dst_freelist_purge(dst_tables.entries.head);
}
