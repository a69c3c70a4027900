// operator.h - what all operators have in common: the head of their records, push, undo, and the
// scan functions around their row work.
//
// An operator is a record and a push function:
//
//     struct Halve {
//         static constexpr Tag tag = Tag::scale;
//         OperatorHead head;
//         ActivePart part;
//         void read(int y, void **&rows);             // after the layer below: changes rows, or
//                                                     // hands out its own
//         void **write(int y, void **rows);           // before it: returns the rows it shall get
//         void restore(ZOR_IMAGE &image);             // puts the description back
//     };
//
//     ZOR_IMAGE *ZOR__halve(ZOR_IMAGE *image) {
//         if (image == nullptr || ...)                // nothing to do
//             return image;
//         RecordPtr<Halve> record = new_record<Halve>();
//         if (record == nullptr)
//             return image;
//         ...                                         // fill it in, change the description
//         return install(image, std::move(record));
//     }
//     int ZOR__halve_undo(ZOR_IMAGE *image) { return undo<Halve>(image); }
//
// An operator for one direction only has only one of read and write. What a record owns it frees in
// its destructor. The stack lives in the handle: each record holds what it replaced there.
#pragma once

#include <concepts>
#include <memory>
#include <new>
#include <utility>

#include "base/base/owned.h"
#include "core/handle.h"
#include "err/status.h"
#include "zor/driver.h"
#include "zor/ops.h"

namespace zor {

// Which operator a record is of. The numbers are those of the records of old; 26 is new.
enum class Tag : int32_t {
    select = 1,
    gamma = 2,
    rgb_transform = 4,
    xyz_transform = 5,
    samples_to_display = 6,
    rgb_luminance = 8,
    xyz_luminance = 9,
    samples_to_luminance = 10,
    scale = 11,
    change_width = 13,
    min_max = 15,
    cast = 17,
    clip = 18,
    display = 19,
    remap = 21,
    quantize = 22,
    samples_to_rgb = 23,
    samples_to_xyz = 24,
    resize = 25,
    merge_fields = 26
};

// The first four words of every record: what it is, and what the push replaced in the handle.
struct OperatorHead {
    Tag tag;
    ZOR_SCAN_FUNCTION scan;
    ZOR_CLOSE_FUNCTION close;
    void *data; // slot 0
};
static_assert(sizeof(void *) != 4 || sizeof(OperatorHead) == 16);

struct DestroyRecord {
    template<class Record>
    void operator()(Record *record) const {
        record->~Record();
        ERR_free(record);
    }
};
template<class Record>
using RecordPtr = std::unique_ptr<Record, DestroyRecord>;

// A cleared record; null when memory ran out (reported, ZOR_E_MEMORY).
template<class Record>
RecordPtr<Record> new_record() {
    void *block = ERR_malloc(sizeof(Record));
    if (block == nullptr)
        set_status(ZOR_E_MEMORY);
    return RecordPtr<Record>(block != nullptr ? new (block) Record() : nullptr);
}

// Row buffers of an operator's own.
struct FreeChannels {
    void operator()(void **channels) const { zor__chan_free(channels); }
};
using Channels = std::unique_ptr<void *, FreeChannels>;

// A response curve that frees its tables. Nothing but the record, so that layouts show it as one.
struct OwnedCurve {
    ZOR_RESPONSE_CURVE curve = {};
    OwnedCurve() = default;
    OwnedCurve(const OwnedCurve &) = delete;
    OwnedCurve &operator=(const OwnedCurve &) = delete;
    ~OwnedCurve() { ZOR_response_curve_done(&curve); }
};
static_assert(sizeof(OwnedCurve) == sizeof(ZOR_RESPONSE_CURVE));

inline bool reads(const ZOR_IMAGE &image) { return (image.mode & ZOR_MODE_READ) != 0; }

// Scan functions --------------------------------------------------------------------------------

// What a scan function does without a record: its sub-image is locked by a selection. Leaves
// zor__err alone.
inline int report_locked() {
    ERR_report_cat(zor__msg_cat, ZOR_MSG_LOCKED);
    return -1;
}

// Calls the layer below an operator.
inline int scan_below(const OperatorHead &head, int y, void **rows) {
    return head.scan(head.data, y, rows);
}

// The same for reading. A driver that says all is well and delivers no rows has failed.
inline int read_below(const OperatorHead &head, int y, void ***rows) {
    *rows = nullptr;
    const int result = head.scan(head.data, y, reinterpret_cast<void **>(rows));
    if (result < 0 || *rows != nullptr)
        return result;
    return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, "the driver delivers none");
}

template<class Record>
int read_scan(void *state, int y, void **rows) {
    auto *record = static_cast<Record *>(state);
    if (record == nullptr)
        return report_locked();
    auto *variable = reinterpret_cast<void ***>(rows);
    const int result = read_below(record->head, y, variable);
    if (result >= 0)
        record->read(y, *variable);
    return result;
}

template<class Record>
int write_scan(void *state, int y, void **rows) {
    auto *record = static_cast<Record *>(state);
    if (record == nullptr)
        return report_locked();
    return scan_below(record->head, y, record->write(y, rows));
}

// That of operators which leave rows alone.
int pass_scan(void *state, int y, void **rows);

// Push and undo ---------------------------------------------------------------------------------

// Puts a record on top of a handle's stack, under scan and close functions of its own. A handle
// that its driver left without them, or without a state, is refused: there is nothing to go on top
// of.
template<class Record>
ZOR_IMAGE *install_with(ZOR_IMAGE *image, RecordPtr<Record> record, ZOR_SCAN_FUNCTION scan);

template<class Record>
ZOR_IMAGE *install(ZOR_IMAGE *image, RecordPtr<Record> record) {
    constexpr bool has_read = requires(Record & r, void **&rows) { r.read(0, rows); };
    constexpr bool has_write = requires(Record & r, void **rows) { r.write(0, rows); };
    static_assert(has_read || has_write);
    ZOR_SCAN_FUNCTION scan = nullptr;
    if constexpr (has_read)
        scan = &read_scan<Record>;
    if constexpr (has_write) {
        if (!has_read || !reads(*image))
            scan = &write_scan<Record>;
    }
    return install_with(image, std::move(record), scan);
}

// Takes the operator on top away, and what a push of it changed. Returns as the undo functions of
// ops.h.
template<class Record>
int undo(ZOR_IMAGE *image);

// The close function of an operator: undoes it and closes what is below.
template<class Record>
int close_operator(ZOR_IMAGE *image) {
    undo<Record>(image);
    return image->close(image);
}

// Whether there is a driver that operators can stand on. Reported where there is not.
inline bool takes_operators(const ZOR_IMAGE &image) {
    if (image.scan != nullptr && image.close != nullptr && slot_state(image) != nullptr)
        return true;
    zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, image.key != nullptr ? image.key : "");
    return false;
}

template<class Record>
ZOR_IMAGE *install_with(ZOR_IMAGE *image, RecordPtr<Record> record, ZOR_SCAN_FUNCTION scan) {
    if (!takes_operators(*image)) {
        record->restore(*image);
        return image;
    }
    record->head = {Record::tag, image->scan, image->close, image->data[0]};
    if (image->driver_state == nullptr)
        image->driver_state = image->data[0];
    image->scan = scan;
    image->close = &close_operator<Record>;
    image->data[0] = record.release();
    return image;
}

template<class Record>
int undo(ZOR_IMAGE *image) {
    if (image == nullptr || slot_state(*image) == nullptr)
        return 1;
    // Slot 0 may hold a driver's state, which has no tag: the close function tells.
    if (image->close != &close_operator<Record>)
        return 0;
    const RecordPtr<Record> record(static_cast<Record *>(image->data[0]));
    const OperatorHead &head = record->head;
    if (image->driver_state == head.data)
        image->driver_state = nullptr; // this was the lowest one
    image->scan = head.scan;
    image->close = head.close;
    image->data[0] = head.data;
    record->restore(*image);
    return 1;
}

} // namespace zor
