// registry.h - the formats the library knows and the drivers behind them.
#pragma once

#include <cstdint>
#include <span>

#include "base/base/dst_list.h"
#include "zor/driver.h"

namespace zor {

// An entry of the format registry. Queries hand out its public part. 120 bytes on 32-bit builds.
struct FormatEntry {
    FormatEntry *next; // list link
    int32_t built_in;  // 1 for a driver the library carries, 0 for a module's
    ZOR_FORMAT format;
};
static_assert(sizeof(void *) != 4 || sizeof(FormatEntry) == 120);

// The state of the library between ZOR_init and ZOR_exit; all zero while it is down.
struct Registry {
    bool up;
    bool starting;             // modules are being read: their init functions must not end it all
    dst_list *formats;         // FormatEntry nodes: modules' first, then built-in ones. Its cursor
                               // is the one all format queries share
    FormatEntry *saved_cursor; // where the latest query found the cursor
    FormatEntry *last_match;   // entry the file-type probes looked at last
    ZOR_DRIVER *drivers;       // records of the modules' drivers, in registry order
    int32_t num_drivers;
    int32_t most_first; // the largest numbers that drivers' capability functions gave
    int32_t most_second;
};
extern Registry registry;

// Starts the library, without modules, when it is down. Reports the request it starts for. Returns
// whether the library is up.
bool start_on_demand(const char *query);

// Records of the drivers that modules brought, and of those the library carries.
std::span<const ZOR_DRIVER> module_drivers();
std::span<const ZOR_DRIVER> builtin_drivers();

// Frees what the drivers that the library carries still hold. For ZOR_exit, which calls the done
// functions of modules only.
void release_builtin_drivers();

// The driver of that key, of some or of all with the modules' first; null when there is none. Leave
// the cursor of the registry alone.
const ZOR_DRIVER *find_by_key(std::span<const ZOR_DRIVER> drivers, const char *key);
const ZOR_DRIVER *find_driver(const char *key);

// Appends an entry for a driver to the registry. Returns 0, or ZOR_E_MEMORY (reported).
int32_t register_format(const ZOR_DRIVER &driver, bool built_in);

// Frees all entries and driver records and resets the state.
void clear_registry();

// Reads a module's symbols into a driver record.
//   name  the module's name, for messages
// on_key is called as soon as the key is known, for that is when an earlier driver of the same key
// gives way. Returns false for a module to skip: reported, unless its init function declined.
bool read_module(void *module, const char *name, ZOR_DRIVER *driver,
                 void (*on_key)(const char *key, void *context), void *context);

} // namespace zor
