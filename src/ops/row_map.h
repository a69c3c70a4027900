// row_map.h - operators that map samples one by one, in place, and leave the description alone.
//
//     using Halve = RowMap<Tag::scale, HalveParams>;
//     RecordPtr<Halve> record = new_row_map<Halve>(desc);
//     record->set_work(COLOUR, desc.image, params, &halve_row<uint8_t>); // else it stays as it is
//     return install(image, std::move(record));
#pragma once

#include <array>
#include <cstdint>
#include <numeric>

#include "ops/operator.h"
#include "ops/row_kernels.h"
#include "ops/samples.h"

namespace zor {

// Params are a group's own, filled in at push.
template<Tag the_tag, class Params>
struct RowMap {
    static constexpr Tag tag = the_tag;
    // Maps count samples of a row from an offset on.
    using Work = void (*)(void *row, int64_t offset, int64_t count, const Params &params);
    struct GroupMap {
        Params params;
        int32_t num_channels;
        Work work;       // null: the group stays as it is
        int32_t per_row; // channels interleaved in a row
        bool by_table;   // of what the work makes of each byte, which is faster
        std::array<uint8_t, 256> table;
    };

    OperatorHead head;
    int32_t win_left, win_right, win_bottom, win_top;
    int32_t count, offset;         // pixels of a row that are mapped
    int32_t first_line, last_line; // lines that are
    std::array<GroupMap, num_groups> groups;

    const RowKernels *kernels;

    void set_work(size_t g, const ZOR_CHANNELS &channels, const Params &params, Work work) {
        GroupMap &group = groups[g];
        group.params = params;
        group.work = work;
        group.by_table = work != nullptr && is_integer(channels) && channels.bits <= 8;
        if (!group.by_table)
            return;
        std::iota(group.table.begin(), group.table.end(), uint8_t{0});
        work(group.table.data(), 0, int64_t{256}, params);
    }

    void read(int y, void **&rows) const { map(y, rows); }
    void **write(int y, void **rows) const {
        map(y, rows);
        return rows;
    }
    void restore(ZOR_IMAGE & /*image*/) const {}

private:
    void map(int y, void *const *rows) const {
        if (y < first_line || y > last_line)
            return;
        int32_t first = 0;
        for (const GroupMap &group : groups) {
            const int32_t end = first + group.num_channels;
            const int64_t per_row = group.per_row;
            if (group.work != nullptr) {
                for (int32_t k = first; k < end; k += group.per_row) {
                    if (group.by_table)
                        kernels->look_up(samples<uint8_t>(rows, k) + offset * per_row,
                                         count * per_row, group.table.data());
                    else
                        group.work(rows[k], offset * per_row, count * per_row, group.params);
                }
            }
            first = end;
        }
    }
};

// A record that takes in the whole window, with no work yet; null when memory ran out.
template<class Map>
RecordPtr<Map> new_row_map(const ZOR_IMAGE_DESC &desc) {
    RecordPtr<Map> map = new_record<Map>();
    if (map == nullptr)
        return map;
    map->kernels = &row_kernels();
    map->win_left = desc.win_left;
    map->win_right = desc.win_right;
    map->win_bottom = map->first_line = desc.win_bottom;
    map->win_top = map->last_line = desc.win_top;
    map->count = row_width(desc);
    const auto groups = copy_groups(desc);
    for (size_t g = 0; g < num_groups; ++g) {
        map->groups[g].num_channels = groups[g].count;
        map->groups[g].per_row = channels_per_row(desc, static_cast<Group>(g));
    }
    return map;
}

} // namespace zor
