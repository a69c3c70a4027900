// configuration.h - what the configuration file says about colour.
#pragma once

#include <cstdint>
#include <span>

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

// A row of a table of matching functions.
struct Row : CLR_TRISTIMULUS {
    int32_t line; // of the file; of two rows for one wavelength the later counts
};

// The rows of a table, in file order until they are sorted.
class Rows {
public:
    Rows() = default;
    ~Rows() { dst_array_free(array_, &storage_); }
    Rows(const Rows &) = delete;
    Rows &operator=(const Rows &) = delete;

    [[nodiscard]] bool empty() const { return array_ == nullptr; }

    // Returns false, reported, when memory ran out.
    bool append(const Row &row);

    // Brings the rows into ascending order, one that counts before others of its wavelength.
    std::span<const Row> sort();

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

    [[nodiscard]] bool has_table() const { return table_opened && table_ended && !rows.empty(); }
};

// Takes over what the lines of the configuration file say.
Outcome read_configuration(Reading &reading);

} // namespace zor::clr
