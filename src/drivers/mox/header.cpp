// header.cpp - headers as bytes, as values, and what tells that they are headers.
#include "drivers/mox/header.h"

#include "zor/records.h"

namespace zor::mox {

namespace {

enum class Kind : uint8_t { word16, word32, text };

// One field: its place in the file and its member of Header.
struct Field {
    size_t position;
    size_t size;
    Kind kind;
    size_t member;
};

constexpr Field fields[] = {
    {0, 2, Kind::word16, offsetof(Header, window_left)},
    {2, 2, Kind::word16, offsetof(Header, window_right)},
    {4, 2, Kind::word16, offsetof(Header, window_bottom)},
    {6, 2, Kind::word16, offsetof(Header, window_top)},
    {8, 2, Kind::word16, offsetof(Header, active_left)},
    {10, 2, Kind::word16, offsetof(Header, active_right)},
    {12, 2, Kind::word16, offsetof(Header, active_bottom)},
    {14, 2, Kind::word16, offsetof(Header, active_top)},
    {16, 2, Kind::word16, offsetof(Header, frame)},
    {18, 2, Kind::word16, offsetof(Header, storage_type)},
    {20, 2, Kind::word16, offsetof(Header, num_chan)},
    {22, 2, Kind::word16, offsetof(Header, num_matte)},
    {24, 2, Kind::word16, offsetof(Header, num_aux)},
    {26, 2, Kind::word16, offsetof(Header, revision)},
    {28, 16, Kind::text, offsetof(Header, gamma)},
    {44, 24, Kind::text, offsetof(Header, red_pri)},
    {68, 24, Kind::text, offsetof(Header, green_pri)},
    {92, 24, Kind::text, offsetof(Header, blue_pri)},
    {116, 24, Kind::text, offsetof(Header, white_pt)},
    {140, 4, Kind::word32, offsetof(Header, job_num)},
    {144, 128, Kind::text, offsetof(Header, name)},
    {272, 128, Kind::text, offsetof(Header, desc)},
    {400, 64, Kind::text, offsetof(Header, program)},
    {464, 32, Kind::text, offsetof(Header, machine)},
    {496, 32, Kind::text, offsetof(Header, user)},
    {528, 20, Kind::text, offsetof(Header, date)},
    {548, 24, Kind::text, offsetof(Header, aspect)},
    {572, 8, Kind::text, offsetof(Header, aspect_ratio)},
    {580, 32, Kind::text, offsetof(Header, chan)},
    {612, 2, Kind::word16, offsetof(Header, field)},
    {time_position, time_size, Kind::text, offsetof(Header, time)},
    {626, 32, Kind::text, offsetof(Header, filter)},
    {658, 2, Kind::word16, offsetof(Header, chan_bits)},
    {660, 2, Kind::word16, offsetof(Header, matte_type)},
    {662, 2, Kind::word16, offsetof(Header, matte_bits)},
    {664, 2, Kind::word16, offsetof(Header, aux_type)},
    {666, 2, Kind::word16, offsetof(Header, aux_bits)},
    {668, 32, Kind::text, offsetof(Header, aux)},
    // 36 bytes are reserved here
    {next_position, 4, Kind::word32, offsetof(Header, next)},
};

constexpr bool is_gapless() {
    size_t end = 0;
    for (const Field &field : fields) {
        if (field.position != end && field.position != end + 36)
            return false;
        end = field.position + field.size;
    }
    return end == header_size;
}
static_assert(is_gapless());

uint32_t read_big(const uint8_t *bytes, size_t size) {
    uint32_t value = 0;
    for (size_t i = 0; i < size; ++i)
        value = value << 8 | bytes[i];
    return value;
}

void write_big(uint32_t value, size_t size, uint8_t *bytes) {
    for (size_t i = size; i-- > 0; value >>= 8)
        bytes[i] = static_cast<uint8_t>(value & 0xFFU);
}

} // namespace

void decode_header(const uint8_t (&bytes)[header_size], Header *header) {
    auto *record = reinterpret_cast<char *>(header);
    for (const Field &field : fields) {
        const uint8_t *from = bytes + field.position;
        char *to = record + field.member;
        if (field.kind == Kind::text) {
            std::memcpy(to, from, field.size);
            to[field.size] = '\0';
        } else if (field.kind == Kind::word16) {
            const auto value = static_cast<uint16_t>(read_big(from, 2));
            std::memcpy(to, &value, sizeof value);
        } else {
            const uint32_t value = read_big(from, 4);
            std::memcpy(to, &value, sizeof value);
        }
    }
}

void encode_header(const Header &header, uint8_t (&bytes)[header_size]) {
    std::memset(bytes, 0, sizeof bytes);
    const auto *record = reinterpret_cast<const char *>(&header);
    for (const Field &field : fields) {
        const char *from = record + field.member;
        uint8_t *to = bytes + field.position;
        if (field.kind == Kind::text) {
            std::memcpy(to, from, strnlen(from, field.size - 1));
        } else if (field.kind == Kind::word16) {
            uint16_t value;
            std::memcpy(&value, from, sizeof value);
            write_big(value, 2, to);
        } else {
            uint32_t value;
            std::memcpy(&value, from, sizeof value);
            write_big(value, 4, to);
        }
    }
}

namespace {

// An interval that lies in a larger one, which starts at 0 or later.
bool is_inside(int16_t low, int16_t high, int16_t outer_low, int16_t outer_high) {
    return outer_low >= 0 && outer_low <= low && low <= high && high <= outer_high;
}

} // namespace

bool is_mox_header(const Header &header) {
    return is_inside(header.active_left, header.active_right, header.window_left,
                     header.window_right) &&
           is_inside(header.active_bottom, header.active_top, header.window_bottom,
                     header.window_top) &&
           (header.aspect[0] != '\0' || header.aspect_ratio[0] != '\0') && header.num_chan >= 0 &&
           header.num_chan <= 3 && header.num_matte >= 0 && header.matte_type >= 0 &&
           header.storage_type >= 0;
}

namespace {

// In the old layout the header ended at 612: bytes behind that are anything, and all channels were
// bytes.
void apply_old(Header *header, bool is_mob) {
    header->storage_type = header->matte_type = header->aux_type = 0;
    header->chan_bits = header->matte_bits = header->aux_bits = 8;
    header->next = 0;
    set_field(header->time, "unknown");
    set_field(header->filter, "unknown");
    set_field(header->aux, nullptr);
    if (!is_mob)
        header->field = 0;
}

void apply_current(Header *, bool) {}

struct Revision {
    uint16_t code;
    void (*apply)(Header *header, bool is_mob);
};

// The first one also serves for every code that is not here.
constexpr Revision revisions[] = {
    {old_revision, apply_old},
    {current_revision, apply_current},
};

} // namespace

void apply_revision(Header *header, bool is_mob) {
    size_t row = sizeof revisions / sizeof revisions[0] - 1;
    while (row > 0 && revisions[row].code != header->revision)
        --row;
    revisions[row].apply(header, is_mob);
}

namespace {

struct TypeCode {
    int16_t code;
    int32_t type;
};
constexpr TypeCode type_codes[] = {{0, ZOR_C_INTEGER}, {4, ZOR_C_FLOAT}, {5, ZOR_C_DOUBLE}};

} // namespace

int32_t channel_type(int16_t code) {
    for (const TypeCode &row : type_codes)
        if (row.code == code)
            return row.type;
    return 0;
}

int16_t type_code(int32_t type) {
    for (const TypeCode &row : type_codes)
        if (row.type == type)
            return row.code;
    return 0;
}

} // namespace zor::mox
