// open_writer.cpp - opening MOX files for writing: all is checked and made before there is a file.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "base/base/number.h"
#include "base/base/owned.h"
#include "drivers/mox/driver.h"
#include "drivers/mox/writer.h"
#include "err/status.h"
#include "platform/platform.h"
#include "zor/fmt.h"

namespace zor::mox {

namespace {

// What the 16-bit fields of a header can say.
bool is_in_range(int32_t value) { return value >= 0 && value <= INT16_MAX; }

bool can_be_described(const ZOR_IMAGE_DESC &desc) {
    for (const int32_t value :
         {desc.win_left, desc.win_right, desc.win_bottom, desc.win_top, desc.act_left,
          desc.act_right, desc.act_bottom, desc.act_top, desc.matte.count, desc.aux.count})
        if (!is_in_range(value))
            return false;
    return desc.image.count >= 0;
}

template<size_t Room>
void print_pair(char (&field)[Room], const float *xy) {
    char x[48]; // the largest float has 39 digits before the point
    char y[48];
    char pair[sizeof x + sizeof y];
    print_fixed(x, sizeof x, xy[0], 7, 4);
    print_fixed(y, sizeof y, xy[1], 7, 4);
    std::snprintf(pair, sizeof pair, "%s %s", x, y);
    set_field(field, pair);
}

// A gamma that is no number would make a file that nothing reads.
void print_gamma(Header *header, float gamma) {
    char text[48];
    print_fixed(text, sizeof text, std::isfinite(gamma) ? gamma : FMT_def_gamma(), 7, 4);
    set_field(header->gamma, text);
}

int16_t clamp_frame(int32_t frame) {
    return static_cast<int16_t>(frame < -1 ? 0 : std::min<int32_t>(frame, INT16_MAX));
}

// Coordinates and counts have been checked by now; the rest has to fit.
int16_t word(int32_t value) {
    return static_cast<int16_t>(std::clamp<int32_t>(value, INT16_MIN, INT16_MAX));
}

Header make_header(const ZOR_IMAGE &image, const ZOR_IMAGE_DESC &desc) {
    Header header = {};
    header.window_left = word(desc.win_left);
    header.window_right = word(desc.win_right);
    header.window_bottom = word(desc.win_bottom);
    header.window_top = word(desc.win_top);
    header.active_left = word(desc.act_left);
    header.active_right = word(desc.act_right);
    header.active_bottom = word(desc.act_bottom);
    header.active_top = word(desc.act_top);
    header.frame = clamp_frame(desc.frame);
    header.storage_type = type_code(desc.image.type);
    header.matte_type = type_code(desc.matte.type);
    header.aux_type = type_code(desc.aux.type);
    header.num_chan = word(desc.image.count);
    header.num_matte = word(desc.matte.count);
    header.num_aux = word(desc.aux.count);
    header.chan_bits = word(desc.image.bits);
    header.matte_bits = word(desc.matte.bits);
    header.aux_bits = word(desc.aux.bits);
    header.revision = current_revision;
    header.job_num = image.job_number;
    header.field = word(image.field_flag);

    print_gamma(&header, desc.curve.gamma);
    print_pair(header.red_pri, image.primaries);
    print_pair(header.green_pri, image.primaries + 3);
    print_pair(header.blue_pri, image.primaries + 6);
    print_pair(header.white_pt, image.primaries + 9);
    char ratio[48];
    print_fixed(ratio, sizeof ratio, desc.picture_aspect, 5, 3);
    set_field(header.aspect_ratio, ratio);

    set_field(header.name, image.name);
    set_field(header.desc, image.description);
    set_field(header.program, image.program);
    set_field(header.machine, image.machine);
    set_field(header.user, image.user);
    set_field(header.date, image.date);
    set_field(header.time, image.time);
    set_field(header.filter, image.filter);
    set_field(header.aspect, desc.picture_format);
    set_field(header.chan, desc.chan_format);
    set_field(header.aux, desc.aux_name);
    return header;
}

// Raw rows always have the same size; one that a record cannot hold can never be written.
bool check_raw_rows(const WriteImage &sub, const ZOR_IMAGE_DESC &desc, const char *key) {
    const ZOR_CHANNELS groups[] = {desc.image, desc.matte, desc.aux};
    for (int kind = 0; kind < num_groups; ++kind)
        if (groups[kind].count > 0 && groups[kind].type != ZOR_C_INTEGER &&
            sub.groups[kind].codec->max_encoded(sub.active) > max_record_data)
            return refuse_width(kind, key);
    return true;
}

// The largest record, with its count and what an encoder may write behind it.
size_t record_room(const WriteImage &sub) {
    size_t data = 0;
    for (const ChannelGroup &group : sub.groups)
        if (group.count > 0)
            data = std::max(data, group.codec->max_encoded(sub.active));
    return 2 + data + codec_slack;
}

bool fill_sub_image(ZOR_IMAGE *image, int32_t index, WriteImage *sub) {
    ZOR_IMAGE_DESC *desc = &image->images[index];
    desc->orientation = ZOR_ORIENTATION_RISING;
    desc->chan_flag = 1;
    if (desc->image.count > 3)
        return refuse_type(0, image->key);
    if (!can_be_described(*desc)) {
        zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE, image->file_name,
                  "window or channel count out of range");
        return false;
    }
    sub->index = index;
    sub->header_at = -1;
    sub->win_top = desc->win_top;
    sub->act_bottom = desc->act_bottom;
    sub->act_top = desc->act_top;
    sub->left = desc->act_left - desc->win_left;
    sub->active = desc->act_right - desc->act_left + 1;
    sub->next = desc->win_bottom;
    if (!choose_codecs(desc, image->key, sub->groups) || !check_raw_rows(*sub, *desc, image->key))
        return false;
    sub->record_room = record_room(*sub);

    sub->table = allocate<uint8_t>(static_cast<int64_t>(table_size(*sub)));
    if (sub->table == nullptr)
        return set_status(ZOR_E_MEMORY) == 0;
    std::memset(sub->table, 0, table_size(*sub));
    // Encoded now: operators change descriptions while a file is open.
    encode_header(make_header(*image, *desc), sub->header);
    return true;
}

// Makes everything that writing needs but the file. False on failure, with what was made left to
// free_writer.
bool prepare(ZOR_IMAGE *image, Writer *writer) {
    if (image->num_images > max_sub_images) {
        zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE, image->file_name, "too many images");
        return false;
    }
    writer->subs = allocate<WriteImage>(image->num_images);
    if (writer->subs == nullptr)
        return set_status(ZOR_E_MEMORY) == 0;
    std::memset(writer->subs, 0, static_cast<size_t>(image->num_images) * sizeof *writer->subs);
    writer->num_subs = image->num_images;
    size_t most = 0; // a record, or a header with its table
    for (int32_t i = 0; i < image->num_images; ++i) {
        WriteImage *sub = &writer->subs[i];
        sub->writer = writer;
        image->data[i] = sub;
        if (!fill_sub_image(image, i, sub))
            return false;
        most = std::max({most, sub->record_room, header_size + table_size(*sub)});
    }
    return open_writing(&writer->stream, most);
}

// Creates the file with the first header in it, so that one that cannot be written at all is known
// before the first scanline. False on failure, with no file left.
bool create_file(ZOR_IMAGE *image, Writer *writer) {
    FILE *file = open_file(image);
    if (file == nullptr)
        return false;
    writer->stream.file = file;
    writer->opened = platform::tick_count();
    if (write_header(&writer->subs[0]) && flush(&writer->stream))
        return true;
    zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE, image->file_name,
              error_text(writer->stream.error, "short write"));
    file_calls().close(image, file);
    zor__remove_file(image);
    return false;
}

} // namespace

int open_writer(ZOR_IMAGE *image) {
    auto *writer = allocate<Writer>();
    if (writer == nullptr) {
        set_status(ZOR_E_MEMORY);
        return 0;
    }
    *writer = {};
    writer->image = image;
    if (!prepare(image, writer) || !create_file(image, writer)) {
        free_writer(image, writer);
        return 0;
    }
    image->scan = write_scanline;
    image->direct_scan = write_columns;
    zor__offer_rasters(image, write_raster);
    image->close = close_writer;
    return 1;
}

} // namespace zor::mox
