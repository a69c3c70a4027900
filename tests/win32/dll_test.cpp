// dll_test.cpp - the DLL as programs of other makers meet it: found by name, called with a stack
// that is aligned to 4 bytes only, its records laid out as they were built to, and the mode that
// files are opened in left alone.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <windows.h>

#include "base/base/dst_array.h"
#include "base/base/dst_dllist.h"
#include "base/base/dst_memory.h"
#include "base/dst/dst_queue.h"
#include "core/registry.h"
#include "ops/operator.h"
#include "support/files.h"
#include "support/info.h"
#include "zor/clr.h"
#include "zor/fmt.h"

// int call_misaligned(void *function, unsigned by, const void *a, const void *b, const void *c)
//
// Calls a cdecl function with three arguments, of which it may take fewer, the stack lying so many
// bytes below a multiple of 16.
extern "C" int call_misaligned(void *function, unsigned by, const void *a, const void *b,
                               const void *c);
asm(".globl _call_misaligned\n"
    "_call_misaligned:\n"
    "    pushl %ebp\n"
    "    movl %esp, %ebp\n"
    "    andl $-16, %esp\n"
    "    subl 12(%ebp), %esp\n"
    "    pushl 24(%ebp)\n"
    "    pushl 20(%ebp)\n"
    "    pushl 16(%ebp)\n"
    "    call *8(%ebp)\n"
    "    movl %ebp, %esp\n"
    "    popl %ebp\n"
    "    ret\n");

// A driver of sequential files that looks at the default mode.
static int mode_at_open;
static bool opens;
ZOR_MODULE("watched", ".watched", "Watched", 0);
ZOR_MODULE_NUMBER(imageAccess, ZOR_ACCESS_READ);
int imageReadOpen(ZOR_IMAGE *image) {
    mode_at_open = _fmode;
    if (!opens || zor__build_handle(image, 1) != 0)
        return 0;
    zor__describe(&image->images[0], 4, 3, 1, 8);
    image->data[0] = image;
    image->scan = [](void *, int, void **rows) { return *rows = rows, 0; };
    image->close = [](ZOR_IMAGE *closed) { return zor__free_obj(closed), 0; };
    return 1;
}

namespace {

void *symbol(const char *name) {
    void *address;
    const FARPROC found = GetProcAddress(GetModuleHandleA("zor.dll"), name);
    std::memcpy(&address, &found, sizeof address);
    EXPECT_NE(address, nullptr) << name;
    return address;
}

// Functions by name, called at every alignment there is.
struct Caller {
    unsigned by;
    template<class Result = int>
    Result operator()(const char *name, const void *a = nullptr, const void *b = nullptr,
                      const void *c = nullptr) const {
        const int result = call_misaligned(symbol(name), by, a, b, c);
        Result typed;
        static_assert(sizeof typed == sizeof result);
        std::memcpy(&typed, &result, sizeof typed);
        return typed;
    }
};

const void *number(int value) { return reinterpret_cast<const void *>(value); }

const char *file_to_deliver; // empty for the driver here

unsigned char next_module(void **module, const char **name) {
    *name = std::exchange(file_to_deliver, nullptr);
    if (*name == nullptr)
        return 0;
    *module = **name == '\0'
                  ? this_program()
                  : LoadLibraryA((std::string(TEST_MODULE_DIR) + *name + ".dll").c_str());
    return 1;
}

TEST(Dll, IsSafeForCallersWithA4ByteAlignedStack) {
    const TempDir directory;
    const std::string path = (directory.path / "a.mox").generic_string();
    for (const unsigned by : {0U, 4U, 8U, 12U}) {
        SCOPED_TRACE(by);
        const Caller call{by};
        file_to_deliver = "mox";
        ASSERT_EQ(call("ZOR_init", nullptr, reinterpret_cast<const void *>(&next_module)), 0);
        Info info(path.c_str());
        auto *desc =
            call.operator()<ZOR_IMAGE_DESC *>("ZOR_info_add_image", &info, number(64), number(2));
        ASSERT_NE(desc, nullptr);
        desc->image = {3, ZOR_C_INTEGER, 8};
        desc->curve.gamma = 2.2F;
        auto *image = call.operator()<ZOR_IMAGE *>("ZOR_open", &info, "w");
        ASSERT_NE(image, nullptr);
        std::vector<uint8_t> row(64, 200);
        void *rows[] = {row.data(), row.data(), row.data()};
        EXPECT_EQ(call("ZOR_scan_write", image, number(0), rows), 0);
        EXPECT_EQ(call("ZOR_scan_write", image, number(1), rows), 0);
        EXPECT_EQ(call("ZOR_close", image), 0);
        image = call.operator()<ZOR_IMAGE *>("ZOR_open", &info, "r");
        ASSERT_NE(image, nullptr);
        void **read = nullptr;
        EXPECT_EQ(call("ZOR_scan_read", image, number(0), &read), 0);
        EXPECT_EQ(std::memcmp(read[2], row.data(), row.size()), 0);
        EXPECT_EQ(call("ZOR_close", image), 0);
        EXPECT_EQ(call("ZOR_color_matrix_set", number(3)), 0);
        EXPECT_EQ(call("ZOR_color_matrix_reset"), 1);
        call("ZOR_exit");
    }
}

// Everything else the DLL needs is the system's own.
TEST(Dll, ImportsFromTheSystemOnly) {
    const auto *base = reinterpret_cast<const uint8_t *>(GetModuleHandleA("zor.dll"));
    const auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(base);
    const auto *header = reinterpret_cast<const IMAGE_NT_HEADERS *>(base + dos->e_lfanew);
    const auto &table = header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    const auto *entry =
        reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR *>(base + table.VirtualAddress);
    for (; entry->Name != 0; ++entry) {
        const auto *name = reinterpret_cast<const char *>(base + entry->Name);
        bool known = false;
        for (const char *system :
             {"KERNEL32.dll", "msvcrt.dll", "USER32.dll", "ADVAPI32.dll", "WS2_32.dll"})
            known = known || _stricmp(name, system) == 0;
        EXPECT_TRUE(known) << name;
    }
}

struct Place {
    const char *name;
    size_t at, size, alignment;
};

// A list made of one by a macro that is called with the record and each of its members.
#define EXPAND(...) EXPAND_3(EXPAND_3(EXPAND_3(EXPAND_3(__VA_ARGS__))))
#define EXPAND_3(...) EXPAND_2(EXPAND_2(EXPAND_2(EXPAND_2(__VA_ARGS__))))
#define EXPAND_2(...) EXPAND_1(EXPAND_1(EXPAND_1(EXPAND_1(__VA_ARGS__))))
#define EXPAND_1(...) __VA_ARGS__
#define NO_MORE ()
#define EACH(record, member, ...) \
    PLACE(record, member), __VA_OPT__(REST NO_MORE(record, __VA_ARGS__))
#define REST() EACH
#define PLACE(record, member) \
    { #member, offsetof(record, member), sizeof(record::member), alignof(decltype(record::member)) }
#define RECORD(record, bytes, ...)                                            \
    {                                                                         \
#        record, sizeof(record), bytes, { EXPAND(EACH(record, __VA_ARGS__)) } \
    }

// clang-format off
#define ABOUT_FORMAT \
    key, extension, name, description, description_set, description_number, description_default, \
    file_name_format, name_syntax, add_extension, usage, orientation, bits_per_palette_entry, \
    num_channels, bits_per_channel, num_mattes, bits_per_matte, num_z, bits_per_z, active_window, \
    access, capability, caps_avail_update
const struct {
    const char *name;
    size_t size, expected;
    std::vector<Place> members; // all of them
} records[] = {
    RECORD(ERR_OBJECT, 40, kind, severity, flags, name, text, count, handler, handlers, user_word_1,
           user_word_2, argument_names),
    RECORD(ERR_HANDLER, 12, next, function, data),
    RECORD(FMT_ASPECT, 16, name, width, height, aspect),
    RECORD(CLR_TRISTIMULUS, 16, wavelength, x, y, z),
    RECORD(CLR_SAMPLES, 24, n, uniform, bounds, inv_width, to_xyz, from_xyz),
    RECORD(ZOR_CAPABILITY, 32, code, name, name_set, name_number, name_default, kind, padding, list,
           flags),
    RECORD(ZOR_CAP_ENTRY, 20, value, padding, name, name_set, name_number, name_default),
    RECORD(ZOR_CAP_LIST, 12, default_value, padding, num_entries, entries),
    RECORD(ZOR_CAP_SETTING, 8, code, padding, value),
    RECORD(ZOR_CHANNELS, 12, count, type, bits),
    RECORD(ZOR_RESPONSE_CURVE, 32, kind, gamma, reserved, num_channels, num_elements, type, depth,
           tables),
    RECORD(ZOR_NAME_ELEMENT, 40, reserved, four, zero, length, text, value_length, value_offset,
           kind),
    RECORD(ZOR_FORMAT, 112, ABOUT_FORMAT, multi_frame,
           hard_link_duplicates, remote_access, is_file, ui_popdown, ui_popup),
    RECORD(zor::FormatEntry, 120, next, built_in, format),
    RECORD(ZOR_DRIVER, 128, ABOUT_FORMAT, init, done,
           read_open, write_open, multi_frame, hard_link_duplicates, remote_access, is_file,
           ui_popdown, ui_popup),
    RECORD(ZOR_INFO, 192, key, file_name, complete_path, name, extension, description, program,
           machine, user, date, time, filter, compression, cap_settings, app_word, field_flag,
           job_number, add_extension, reserved9, marker, primaries, num_images, images, frame_count,
           frame_rate, reserved16, first_frame, reserved18, untouched),
    RECORD(ZOR_IMAGE_DESC, 156, size_code, curve, win_left, win_right, win_bottom, win_top,
           act_left, act_right, act_bottom, act_top, orientation, chan_flag, chan_format, image,
           matte, aux, aux_name, picture_format, ratio_text, picture_width, picture_height,
           picture_aspect, frame, reserved),
    RECORD(ZOR_IMAGE, 272, data, driver_words, key, file_name, complete_path, extension,
           description, program, machine, user, date, time, filter, compression, field_flag,
           job_number, add_extension, reserved9, cap_settings, num_images, images, num_frames,
           first_frame, mode, scan, close, playback_bind, playback_goto, playback_play,
           playback_params, playback_stop, get_frame, raster, region, set_frame, seek,
           last_scanline, format, direct_scan, lock, primaries, name, frame_count, frame_rate,
           reserved16, reserved18, own_slot, num_slots, chan_buffers, open_name, own_settings,
           driver_state),
    RECORD(zor::OperatorHead, 16, tag, scan, close, data),
    RECORD(dst_list, 16, first, last, cursor, count),
    RECORD(dst_dllist, 12, first, last, count),
    RECORD(dst_queue, 12, next, prev, data),
    RECORD(dst_array, 16, elem_size, increment, capacity, count),
    RECORD(dst_arena, 16, blocks, next_free, block_size, remaining),
};
// clang-format on

// As programs compiled with the headers see them; what they were compiled with in the library is
// the library's own to know.
TEST(Dll, RecordsAreLaidOutAsEver) {
    for (const auto &[record, size, expected, members] : records) {
        std::printf("%-40s %4zu bytes\n", record, size);
        EXPECT_EQ(size, expected) << record;
        size_t end = 0;
        const auto aligned = [&end](size_t to) { return (end + to - 1) / to * to; };
        for (const Place &place : members) { // in this order, and nothing between them
            std::printf("    %-36s %4zu\n", place.name, place.at);
            EXPECT_EQ(place.at, aligned(place.alignment)) << record << "." << place.name;
            end = place.at + place.size;
        }
        EXPECT_EQ(size, aligned(4)) << record;
    }
}

// A folder that the environment named, in the code page, and a file that the application did.
TEST(Dll, NamesMayMixTheCodePageAndUtf8) {
    const TempDir directory;
    char folder[16] = "";
    ASSERT_NE(
        WideCharToMultiByte(CP_ACP, 0, L"caf\u00e9", -1, folder, sizeof folder, nullptr, nullptr),
        0);
    std::filesystem::create_directory(directory.path / L"caf\u00e9");
    const std::string path = directory.path.generic_string() + "/" + folder + "/\xD0\x96";
    FILE *file = zor__open_named_file(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    EXPECT_TRUE(std::filesystem::exists(directory.path / L"caf\u00e9" / L"\u0416"));
}

// Drivers open files in binary mode whatever the program's default is, which comes back.
TEST(Dll, LeavesTheDefaultModeAsItWas) {
    file_to_deliver = "";
    ASSERT_EQ(ZOR_init(nullptr, &next_module), 0);
    const Info info("a.watched");
    for (const int mode : {_O_TEXT, _O_BINARY}) {
        _fmode = mode;
        const auto expect_opened = [mode](const char *what) {
            EXPECT_EQ(std::exchange(mode_at_open, 0), _O_BINARY) << what;
            EXPECT_EQ(_fmode, mode) << what;
        };
        opens = true;
        ZOR_IMAGE *image = info.open("r");
        expect_opened("opened");
        void **rows = nullptr;
        for (const bool again : {true, false}) {
            EXPECT_EQ(ZOR_scan_read(image, 2, &rows) | ZOR_scan_read(image, 1, &rows), 0);
            opens = again;
            EXPECT_EQ(ZOR_seek(&image, 2), again ? 0 : ZOR_E_OPEN);
            expect_opened(again ? "opened again" : "opened again in vain");
        }
        EXPECT_EQ(info.open("r"), nullptr);
        expect_opened("opened in vain");
        for (const char *no_mode : {"rw", "w", static_cast<const char *>(nullptr)})
            EXPECT_EQ(info.open(no_mode), nullptr);
        EXPECT_EQ(ZOR_open(nullptr, "r"), nullptr);
        unsigned char tried = 0;
        ZOR_get_file_type(nullptr, nullptr, &tried);
        EXPECT_EQ(_fmode, mode) << "not even tried";
    }
    _fmode = _O_TEXT;
    ZOR_exit();
}

} // namespace
