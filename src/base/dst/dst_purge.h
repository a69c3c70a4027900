// dst_purge.h - giving back the memory that waits in the library's caches.
#pragma once

#include "base/base/dst_malloc.h"

// The free lists of trees and name tables, by the size of their records.
struct dst_table_lists {
    dst_freelist tree_nodes;   // three words
    dst_freelist entries;      // four words
    dst_freelist name_entries; // four words; names stay for the life of the process
};
extern dst_table_lists dst_tables;

// Frees what waits in the caches of tree nodes, queue cells, short strings and table entries. The
// name entries stay. Nothing in the library calls this.
void dst_purge();
