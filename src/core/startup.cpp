// startup.cpp - brings the library up and takes it down.
#include <cstdlib>

#include "base/base/dst_array.h"
#include "base/base/number.h"
#include "base/base/owned.h"
#include "core/capabilities.h"
#include "core/multiframe.h"
#include "core/registry.h"
#include "err/status.h"
#include "zor/clr.h"
#include "zor/fmt.h"
#include "zor/str.h"

namespace zor {

namespace {

// The driver records being gathered: pointers, so that one can be dropped without moving records.
class DriverArray {
public:
    DriverArray() : array_(dst_array_create(0, room, sizeof(ZOR_DRIVER *), &storage_)) {}
    ~DriverArray() {
        for (int32_t i = 0; i < count(); ++i)
            ERR_free(items()[i]);
        dst_array_free(array_, &storage_);
    }
    DriverArray(const DriverArray &) = delete;
    DriverArray &operator=(const DriverArray &) = delete;

    [[nodiscard]] bool good() const { return array_ != nullptr; }
    [[nodiscard]] int32_t count() const { return good() ? dst_array_count(array_) : 0; }
    [[nodiscard]] ZOR_DRIVER **items() const { return static_cast<ZOR_DRIVER **>(storage_); }

    bool append(const ZOR_DRIVER &driver) {
        Owned<ZOR_DRIVER> copy(allocate<ZOR_DRIVER>());
        if (copy == nullptr || dst_array_grow(array_, 1, &storage_) == 0)
            return false;
        *copy = driver;
        items()[count() - 1] = copy.release();
        return true;
    }

    // A key belongs to the module delivered last; an earlier one leaves without its done function
    // being called, even if the later one proves unfit.
    void drop(const char *key) {
        for (int32_t i = 0; i < count(); ++i) {
            if (STR_compare(items()[i]->key, key) != 0)
                continue;
            ERR_free(items()[i]);
            for (int32_t k = i + 1; k < count(); ++k)
                items()[k - 1] = items()[k];
            --array_->count;
            return;
        }
    }

private:
    static constexpr int32_t room = 20;
    void *storage_ = nullptr;
    dst_array *array_;
};

void drop_driver(const char *key, void *drivers) { static_cast<DriverArray *>(drivers)->drop(key); }

// Reads every module the application delivers. Returns false when memory ran out.
bool gather_modules(ZOR_ENUMERATE enumerate, DriverArray *drivers) {
    while (enumerate != nullptr) {
        void *module = nullptr;
        const char *name = nullptr;
        if (enumerate(&module, &name) == 0)
            break;
        ZOR_DRIVER driver;
        if (module != nullptr &&
            read_module(module, name != nullptr ? name : "?", &driver, drop_driver, drivers) &&
            !drivers->append(driver))
            return false;
    }
    return true;
}

// Lays the records out as the driver table, in the order they were delivered.
bool make_driver_table(const DriverArray &drivers) {
    registry.drivers = allocate<ZOR_DRIVER>(drivers.count());
    if (registry.drivers == nullptr)
        return false;
    for (int32_t i = 0; i < drivers.count(); ++i)
        registry.drivers[i] = *drivers.items()[i];
    registry.num_drivers = drivers.count();
    return true;
}

bool register_modules(ZOR_ENUMERATE enumerate) {
    registry.formats = dst_list_create();
    if (registry.formats == nullptr)
        return false;
    DriverArray drivers;
    if (!drivers.good() || !gather_modules(enumerate, &drivers) || !make_driver_table(drivers))
        return false;
    for (const ZOR_DRIVER &driver : module_drivers())
        if (register_format(driver, false) != 0)
            return false;
    return true;
}

// Sets the cache of multi-frame files up.
void start_multiframe() {
    constexpr int32_t usual_limit = 15;
    ZOR_multiframe_init();
    const char *limit = std::getenv("QK_ZOR_MULTIFRAME_OPEN");
    ZOR_multiframe_set(1, limit != nullptr ? parse_integer(limit) : usual_limit);
}

int fail_start() {
    registry.starting = false;
    ZOR_exit();
    set_status(ZOR_E_MEMORY);
    return -1;
}

} // namespace

} // namespace zor

int ZOR_init(void *catalogue, ZOR_ENUMERATE enumerate) {
    using zor::registry;
    zor::set_status(ZOR_OK);
    if (registry.up) {
        dst_list_rewind(registry.formats);
        return 0;
    }
    zor__msg_cat = catalogue;

    // The defaults come before all that may ask for them. What is up stays up when the start ends
    // here.
    if (FMT_init(catalogue) != 0 || CLR_init(catalogue) != 0) {
        if (zor__err == ZOR_OK)
            zor::set_status(ZOR_E_MEMORY);
        return -1;
    }

    registry = {};
    registry.up = true;
    registry.starting = true;
    if (!zor::register_modules(enumerate))
        return zor::fail_start();
    for (const ZOR_DRIVER &driver : zor::builtin_drivers()) {
        if (driver.init != nullptr && driver.init() == 0) {
            registry.starting = false; // ZOR_exit can take down what is up
            zor::set_status(ZOR_E_MEMORY);
            return -1;
        }
        if (zor::register_format(driver, true) != 0)
            return zor::fail_start();
    }
    dst_list_rewind(registry.formats);
    const int32_t status = zor::check_capabilities();
    registry.starting = false;
    zor::set_status(status); // what modules' own functions left there does not count
    dst_list_rewind(registry.formats);
    zor::start_multiframe();
    return status;
}

int ZOR_exit(void) {
    if (!zor::registry.up || zor::registry.starting)
        return 0;
    // Open files and completed descriptors go while their drivers are still in working order.
    zor::multiframe_shut();
    zor::drop_capability_names();
    // The table is taken out first, in case a done function comes back here.
    const auto drivers = zor::module_drivers();
    const zor::Owned<ZOR_DRIVER> table(zor::registry.drivers);
    zor::registry.drivers = nullptr;
    zor::registry.num_drivers = 0;
    for (const ZOR_DRIVER &driver : drivers)
        if (driver.done != nullptr)
            driver.done();
    zor::release_builtin_drivers();
    zor::clear_registry();
    CLR_exit();
    FMT_exit();
    return 0;
}

void ZOR_dso_init(void) {}
