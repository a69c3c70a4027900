// header.h - the 740-byte header in front of every sub-image: its values, and their bytes in a
// file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zor::mox {

constexpr size_t header_size = 740;

// Places in the file that are patched when a written file is closed.
constexpr size_t time_position = 614; // counted from the start of a header, as next_position
constexpr size_t time_size = 12;
constexpr size_t next_position = 736;

// The codes of the revision field.
constexpr uint16_t old_revision = 0x0000;
constexpr uint16_t current_revision = 0xFFFE;

// The values of a header. Texts have one byte more than their field in the file, so that one which
// fills its field without a terminator still ends.
struct Header {
    int16_t window_left, window_right, window_bottom, window_top;
    int16_t active_left, active_right, active_bottom, active_top;
    int16_t frame;
    int16_t storage_type; // type code of the colour channels
    int16_t num_chan, num_matte, num_aux;
    uint16_t revision;
    char gamma[16 + 1];
    char red_pri[24 + 1], green_pri[24 + 1], blue_pri[24 + 1], white_pt[24 + 1];
    int32_t job_num;
    char name[128 + 1], desc[128 + 1], program[64 + 1], machine[32 + 1], user[32 + 1];
    char date[20 + 1];
    char aspect[24 + 1]; // name of a picture format
    char aspect_ratio[8 + 1];
    char chan[32 + 1]; // name of the colour-channel set
    int16_t field;
    char time[time_size + 1];
    char filter[32 + 1];
    int16_t chan_bits, matte_type, matte_bits, aux_type, aux_bits;
    char aux[32 + 1]; // name of the auxiliary-channel set
    int32_t next;     // position of the next sub-image's header, 0 if none
};

// Between values and bytes. Texts are written cut, so that their field ends with a NUL, and padded
// with NULs; what belongs to no field is written as 0.
void decode_header(const uint8_t (&bytes)[header_size], Header *header);
void encode_header(const Header &header, uint8_t (&bytes)[header_size]);

// Whether a header is that of a MOX file. The format has no magic number: its coordinates and
// counts have to make sense, and one of the two aspect texts must be there.
bool is_mox_header(const Header &header);

// Puts in place of everything that has no meaning in the header's revision what a reader should
// take instead.
//   is_mob  the file is of the sibling variant, whose old headers have a field flag
void apply_revision(Header *header, bool is_mob);

// Between type codes of the file and channel types (ZOR_C_...). Unknown codes give type 0, unknown
// types code 0.
int32_t channel_type(int16_t code);
int16_t type_code(int32_t type);

// Copies a text into a header field; null counts as empty, what does not fit is cut.
template<size_t Room>
void set_field(char (&field)[Room], const char *text) {
    const size_t length = text != nullptr ? strnlen(text, Room - 2) : 0;
    std::memset(field, 0, Room);
    if (length > 0)
        std::memcpy(field, text, length);
}

} // namespace zor::mox
