// open_reader.cpp - opening MOX files for reading: from headers to descriptions.
//
// A file is believed nothing. In particular it cannot make the reader take much more memory than it
// has bytes itself: see charge().
#include <algorithm>
#include <cstring>
#include <ctime>

#include "base/base/number.h"
#include "base/base/owned.h"
#include "drivers/mox/driver.h"
#include "drivers/mox/header.h"
#include "drivers/mox/reader.h"
#include "err/status.h"
#include "platform/platform.h"
#include "zor/fmt.h"
#include "zor/str.h"

namespace zor::mox {

namespace {

bool fail_memory() {
    zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
    return false;
}

// Accounts for memory about to be taken. False (reported) when it would be too much.
bool charge(Reader *reader, uint64_t bytes) {
    reader->memory += bytes;
    return reader->memory <= memory_limit(*reader) || fail_memory();
}

bool replace_text(char **field, const char *text) {
    char *copy = STR_save(text);
    if (copy == nullptr)
        return fail_memory();
    ERR_free(*field);
    *field = copy;
    return true;
}

// Texts of headers ----------------------------------------------------------------------------

// A blank gamma is fine, one that is something else than a number is not.
bool is_sound_gamma(const char *text) {
    const char *number = STR_skip_space(text);
    return *number == '\0' || STR_is_real(number) != 0;
}

// The number in a text; 0 for none, and for one that is too small for a float.
float real_of(const char *text) {
    double value = 0;
    parse_real(text, &value);
    return to_float(value);
}

float gamma_of(const Header &header) {
    const float gamma = real_of(header.gamma);
    return gamma > 0 ? gamma : FMT_def_input_gamma();
}

// Reads "x y" into a triple (x, y, z); texts without two numbers leave it alone.
void read_chromaticity(const char *text, float *triple) {
    double x = 0;
    double y = 0;
    const char *rest = nullptr;
    if (!parse_real(text, &x, &rest) || !parse_real(rest, &y))
        return;
    triple[0] = to_float(x);
    triple[1] = to_float(y);
    triple[2] = to_float(1 - x - y);
}

// The seconds of a date such as "{1700000000}".
bool parse_seconds(const char *date, int64_t *seconds) {
    if (*date++ != '{')
        return false;
    date = STR_skip_space(date);
    const bool negative = *date == '-';
    date += negative || *date == '+' ? 1 : 0;
    const char *digits = date;
    int64_t value = 0;
    for (; *date >= '0' && *date <= '9' && value < INT64_MAX / 10; ++date)
        value = value * 10 + (*date - '0');
    *seconds = negative ? -value : value;
    return date > digits;
}

// How the user's locale writes a point in time, two-digit years included.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-y2k"
bool print_time(char *text, size_t size, const std::tm &time) {
    return std::strftime(text, size, "%c", &time) > 0;
}
#pragma GCC diagnostic pop

// Dates that are a count of seconds become the local time; all others stay as they are.
bool save_date(char **field, const char *date) {
    int64_t seconds = 0;
    std::tm time;
    char text[256];
    if (parse_seconds(date, &seconds) && platform::local_time(seconds, &time) &&
        print_time(text, sizeof text, time))
        date = text;
    return replace_text(field, date);
}

// Descriptions --------------------------------------------------------------------------------

// What the first header tells about the whole file.
bool describe_file(ZOR_IMAGE *image, const Header &header) {
    image->field_flag = header.field;
    image->job_number = header.job_num;

    ZOR_INFO defaults;
    ZOR_info_init(&defaults);
    std::memcpy(image->primaries, defaults.primaries, sizeof image->primaries);
    float *triple = image->primaries;
    for (const char *text : {header.red_pri, header.green_pri, header.blue_pri, header.white_pt}) {
        read_chromaticity(text, triple);
        triple += 3;
    }

    return replace_text(&image->name, header.name) &&
           replace_text(&image->description, header.desc) &&
           replace_text(&image->program, header.program) &&
           replace_text(&image->machine, header.machine) &&
           replace_text(&image->user, header.user) && save_date(&image->date, header.date) &&
           replace_text(&image->time, header.time) && replace_text(&image->filter, header.filter) &&
           replace_text(&image->compression, "run length encoded");
}

// Size and aspect of the picture: of the named format when it is known here, else of the window.
void describe_picture(ZOR_IMAGE_DESC *desc, const Header &header) {
    if (const FMT_ASPECT *format = FMT_find(header.aspect)) {
        desc->picture_width = format->width;
        desc->picture_height = format->height;
        desc->picture_aspect = format->aspect;
        return;
    }
    desc->picture_width = header.window_right - header.window_left + 1;
    desc->picture_height = header.window_top - header.window_bottom + 1;
    const float aspect =
        STR_is_real(header.aspect_ratio) != 0 ? real_of(header.aspect_ratio) : 0.0F;
    desc->picture_aspect = aspect > 0 ? aspect
                                      : static_cast<float>(desc->picture_width) /
                                            static_cast<float>(desc->picture_height);
}

bool describe_image(ZOR_IMAGE_DESC *desc, const Header &header) {
    desc->curve.kind = 1;
    desc->curve.gamma = gamma_of(header);
    desc->win_left = header.window_left;
    desc->win_right = header.window_right;
    desc->win_bottom = header.window_bottom;
    desc->win_top = header.window_top;
    desc->act_left = header.active_left;
    desc->act_right = header.active_right;
    desc->act_bottom = header.active_bottom;
    desc->act_top = header.active_top;
    desc->orientation = ZOR_ORIENTATION_RISING;
    desc->chan_flag = 1;
    desc->image = {header.num_chan, channel_type(header.storage_type), header.chan_bits};
    desc->matte = {header.num_matte, channel_type(header.matte_type), header.matte_bits};
    desc->aux = {header.num_aux, channel_type(header.aux_type), header.aux_bits};
    desc->frame = header.frame;
    describe_picture(desc, header);
    const char *chan_format = header.chan[0] != '\0' ? header.chan : FMT_def_image_data();
    return replace_text(&desc->chan_format, chan_format) &&
           replace_text(&desc->aux_name, header.aux) &&
           replace_text(&desc->picture_format, header.aspect) &&
           replace_text(&desc->ratio_text, header.aspect_ratio);
}

// Sub-images ----------------------------------------------------------------------------------

// The most data a channel's record is believed to have: the worst that the coding makes of the
// widest samples, with room for its count.
int32_t max_record(const ZOR_IMAGE_DESC &desc, int32_t width) {
    int32_t bits = 0;
    for (const ZOR_CHANNELS &channels : {desc.image, desc.matte, desc.aux})
        bits = channels.count > 0 ? std::max(bits, channels.bits) : bits;
    const int32_t worst = width + width / 127;
    const int32_t size = bits <= 8    ? worst + 3
                         : bits <= 16 ? worst * 2 + 4
                         : bits <= 32 ? worst * 4 + 6
                                      : worst * 8 + 10;
    return std::min(size, 65537);
}

// Reads the table behind the header. A file that ends within it cannot be read: the failure names
// the first scanline without an entry.
bool read_table(ReadImage *sub) {
    ReadStream &stream = sub->reader->stream;
    const auto size = static_cast<size_t>(num_active_rows(*sub)) * sizeof(uint32_t);
    const int64_t start = stream.position;
    const uint8_t *bytes = take(&stream, size);
    if (bytes == nullptr) {
        const auto entries = static_cast<int32_t>((stream.end - start) / 4);
        zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, sub->act_bottom + entries,
                  error_text(stream.error, "unexpected end of file"));
        return false;
    }
    if (!charge(sub->reader, size))
        return false;
    sub->table = allocate<uint32_t>(num_active_rows(*sub));
    if (sub->table == nullptr)
        return set_status(ZOR_E_MEMORY) == 0;
    for (int32_t i = 0; i < num_active_rows(*sub); ++i, bytes += 4)
        sub->table[i] = static_cast<uint32_t>(bytes[0]) << 24 |
                        static_cast<uint32_t>(bytes[1]) << 16 |
                        static_cast<uint32_t>(bytes[2]) << 8 | bytes[3];
    return true;
}

bool have_equal_rows(const ReadImage &a, const ReadImage &b) {
    if (row_width(a) != row_width(b))
        return false;
    for (int kind = 0; kind < num_groups; ++kind)
        if (a.groups[kind].count != b.groups[kind].count ||
            a.groups[kind].codec != b.groups[kind].codec)
            return false;
    return true;
}

// Makes the row buffers. Rows are valid until the next scan call on the handle, so sub-images of
// one shape in a row share theirs.
bool make_channels(ZOR_IMAGE *image, int32_t index, ReadImage *sub) {
    const auto *before =
        index > 0 ? static_cast<const ReadImage *>(image->data[index - 1]) : nullptr;
    if (before != nullptr && have_equal_rows(*sub, *before)) {
        sub->channels = before->channels;
        return true;
    }
    const auto width = static_cast<uint64_t>(row_width(*sub));
    uint64_t size = 0;
    for (const ChannelGroup &group : sub->groups)
        if (group.count > 0) // a row with what lies between it and the next, its pointer, its plane
            size += static_cast<uint64_t>(group.count) *
                    (width * static_cast<uint64_t>(group.codec->sample_size) + 128 +
                     sizeof(void *) + sizeof(ZOR_PLANE));
    if (!charge(sub->reader, size))
        return false;
    sub->channels = ZOR_chan_alloc(image, index);
    return sub->channels != nullptr;
}

ReadImage *new_sub_image(Reader *reader, int32_t index, const Header &header) {
    auto *sub = allocate<ReadImage>();
    if (sub == nullptr) {
        set_status(ZOR_E_MEMORY);
        return nullptr;
    }
    *sub = {};
    sub->reader = reader;
    sub->index = index;
    sub->win_left = header.window_left;
    sub->win_bottom = header.window_bottom;
    sub->win_top = header.window_top;
    sub->act_bottom = header.active_bottom;
    sub->act_top = header.active_top;
    sub->left = header.active_left - header.window_left;
    sub->active = header.active_right - header.active_left + 1;
    sub->right = header.window_right - header.active_right;
    return sub;
}

// Adds the sub-image of a header, whose table comes next in the stream, to the handle.
bool add_sub_image(ZOR_IMAGE *image, int32_t index, Reader *reader, const Header &header) {
    // Arrays grow in steps of two and hold the old and the new for a while; texts have their
    // blocks.
    constexpr uint64_t texts = 4 * uint64_t{64};
    constexpr uint64_t overhead =
        sizeof(ReadImage) + 3 * (sizeof(ZOR_IMAGE_DESC) + sizeof(void *)) + texts;
    if (!charge(reader, overhead) || zor__build_handle(image, index + 1) != 0)
        return false;
    ReadImage *sub = new_sub_image(reader, index, header);
    if (sub == nullptr)
        return false;
    image->data[index] = sub;
    ZOR_IMAGE_DESC *desc = &image->images[index];
    if (!describe_image(desc, header) || !read_table(sub) ||
        !choose_codecs(desc, image->key, sub->groups))
        return false;
    sub->max_record = max_record(*desc, sub->active);
    return make_channels(image, index, sub);
}

// The chain of headers ------------------------------------------------------------------------

bool fail_type(const ZOR_IMAGE &image) {
    zor__fail(ZOR_E_NOT_THIS_TYPE, ZOR_MSG_NOT_THIS_TYPE,
              image.file_name != nullptr ? image.file_name : "");
    return false;
}

// Reads the header at a position. False, without a report, when there is none.
bool read_header(ReadStream *stream, int64_t position, bool mob, Header *header) {
    seek(stream, position);
    const uint8_t *bytes = take(stream, header_size);
    if (bytes == nullptr)
        return false;
    uint8_t copy[header_size];
    std::memcpy(copy, bytes, sizeof copy);
    decode_header(copy, header);
    if (!is_mox_header(*header) || !is_sound_gamma(header->gamma) || header->num_aux < 0)
        return false;
    apply_revision(header, mob);
    return true;
}

// The positions that links have led to, hashed. 0 marks a free slot: no link leads there.
struct Positions {
    Owned<int32_t> slots;
    uint32_t room = 0; // a power of two, at least twice the count
    uint32_t count = 0;
};

// Adds a position. False when it was there.
bool add_position(Positions *met, int32_t position) {
    uint32_t i = static_cast<uint32_t>(position) * 2654435769U >> 8;
    for (;; ++i) {
        int32_t *slot = met->slots.get() + (i & (met->room - 1));
        if (*slot == position)
            return false;
        if (*slot == 0) {
            *slot = position;
            ++met->count;
            return true;
        }
    }
}

// Makes room for one more. False when memory ran out, or would: reported.
bool grow_positions(Reader *reader, Positions *met) {
    if (met->room >= 2 * (met->count + 1))
        return true;
    Positions grown;
    grown.room = std::max(met->room * 2, 64U);
    if (!charge(reader, grown.room * sizeof(int32_t)))
        return false;
    grown.slots.reset(allocate<int32_t>(grown.room));
    if (grown.slots == nullptr)
        return set_status(ZOR_E_MEMORY) == 0;
    std::fill_n(grown.slots.get(), grown.room, 0);
    for (uint32_t i = 0; i < met->room; ++i)
        if (const int32_t position = met->slots.get()[i]; position != 0)
            add_position(&grown, position);
    *met = std::move(grown);
    return true;
}

// Follows the chain of headers; each becomes a sub-image. A chain that comes back to a place has no
// end.
bool read_chain(ZOR_IMAGE *image, Reader *reader) {
    const bool mob = is_mob(*image);
    Positions met;
    int32_t position = 0;
    for (int32_t index = 0; index < max_sub_images; ++index) {
        Header header;
        if (!read_header(&reader->stream, position, mob, &header))
            return fail_type(*image);
        if ((index == 0 && !describe_file(image, header)) ||
            !add_sub_image(image, index, reader, header))
            return false;
        if (header.next == 0)
            return true;
        position = header.next;
        if (position < static_cast<int32_t>(header_size))
            return fail_type(*image);
        if (!grow_positions(reader, &met))
            return false;
        if (!add_position(&met, position))
            return fail_type(*image);
    }
    return fail_type(*image);
}

// Frees all of a reader but the handle.
void free_reader(ZOR_IMAGE *image, Reader *reader) {
    for (int32_t i = 0; i < image->num_slots; ++i) {
        if (auto *sub = static_cast<ReadImage *>(image->data[i])) {
            ERR_free(sub->table);
            ERR_free(sub);
        }
        image->data[i] = nullptr;
    }
    ERR_free(reader->stream.block);
    ERR_free(reader);
}

int close_reader(ZOR_IMAGE *image) {
    Reader *reader = static_cast<ReadImage *>(image->data[0])->reader;
    file_calls().close(image, reader->stream.file);
    free_reader(image, reader);
    zor__free_obj(image);
    return 0;
}

} // namespace

int open_reader(ZOR_IMAGE *image) {
    FILE *file = open_file(image);
    if (file == nullptr)
        return 0;
    auto *reader = allocate<Reader>();
    if (reader == nullptr) {
        set_status(ZOR_E_MEMORY);
        file_calls().close(image, file);
        return 0;
    }
    *reader = {};
    reader->image = image;
    constexpr uint64_t handle = 4096; // and the texts that go with it
    if (!open_reading(&reader->stream, file) ||
        !charge(reader, handle + sizeof *reader + most_memory(reader->stream)) ||
        !read_chain(image, reader)) {
        free_reader(image, reader);
        file_calls().close(image, file);
        return 0;
    }
    image->scan = read_scanline;
    image->direct_scan = read_columns;
    image->raster = read_window;
    image->region = read_window;
    zor__offer_rasters(image, read_raster);
    image->close = close_reader;
    return 1;
}

} // namespace zor::mox
