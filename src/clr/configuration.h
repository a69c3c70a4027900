// configuration.h - what the configuration file says about colour.
#pragma once

#include <cstdint>

#include "base/base/dst_array.h"
#include "clr/settings.h"
#include "clr/spaces.h"

namespace zor::clr {

// How a start, or a step of it, ended.
enum class Outcome {
    good,
    failed, // reported; nothing may be left of the start
    halted  // reported; the start ends, and what it did stays
};

// The rows of a table of matching functions, in file order.
class Rows {
public:
    Rows() = default;
    ~Rows() { dst_array_free(array_, &storage_); }
    Rows(const Rows &) = delete;
    Rows &operator=(const Rows &) = delete;

    // Returns false, reported, when memory ran out.
    bool append(const CLR_TRISTIMULUS &row);

    [[nodiscard]] int32_t count() const { return array_ != nullptr ? dst_array_count(array_) : 0; }
    [[nodiscard]] const CLR_TRISTIMULUS *items() const {
        return static_cast<const CLR_TRISTIMULUS *>(storage_);
    }

private:
    dst_array *array_ = nullptr; // made for the first row
    void *storage_ = nullptr;
};

// The file as far as it was read.
struct Reading {
    Settings &settings;
    Spaces &spaces;
    Rows rows = {};
    bool changed = false;      // something that the weights depend on was set
    bool table_opened = false; // clr__tristimulus was there
    bool table_ended = false;  // end__tristimulus was there

    [[nodiscard]] bool has_table() const { return table_opened && table_ended && rows.count() > 0; }
};

// Takes over what the lines of the configuration file say.
Outcome read_configuration(Reading &reading);

} // namespace zor::clr
