// dll_test.cpp - the DLL as programs of other makers meet it: found by name, called with a stack
// that is aligned to 4 bytes only, its records laid out as they were built to.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <windows.h>

#include "support/files.h"
#include "zor/driver.h"
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

bool deliver_mox;

unsigned char next_module(void **module, const char **name) {
    *module = LoadLibraryA(TEST_MODULE_DIR "mox.dll");
    *name = "mox";
    return std::exchange(deliver_mox, false) ? 1 : 0;
}

TEST(Dll, IsSafeForCallersWithA4ByteAlignedStack) {
    const TempDir directory;
    const std::string path = (directory.path / "a.mox").generic_string();
    for (const unsigned by : {0U, 4U, 8U, 12U}) {
        SCOPED_TRACE(by);
        const Caller call{by};
        deliver_mox = true;
        ASSERT_EQ(call("ZOR_init", nullptr, reinterpret_cast<const void *>(&next_module)), 0);
        ZOR_INFO info;
        call("ZOR_info_init", &info);
        info.key = call.operator()<char *>("STR_save", "mox");
        info.file_name = call.operator()<char *>("STR_save", path.c_str());
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
        call("ZOR_info_cleanup", &info, number(1));
        call("ZOR_exit");
    }
}

TEST(Dll, ExportsVariables) {
    const auto *status = static_cast<const int32_t *>(symbol("zor__err"));
    EXPECT_EQ(status, &zor__err) << "the one an importing program has";
    zor__err = ZOR_E_DECODE;
    EXPECT_EQ(*status, -7);
    EXPECT_EQ(symbol("zor__msg_cat"), &zor__msg_cat);
    EXPECT_EQ(std::memcmp(symbol("ZOR_LITERAL_HARD_FORMAT_TYPE_RAW"), "raw", 4), 0);
    EXPECT_EQ(std::memcmp(symbol("ZOR_LITERAL_HARD_FORMAT_TYPE_RGB"), "rgb", 4), 0);
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
    const char *member;
    size_t is, expected;
};

#define SIZE(record, bytes) \
    Place { #record, sizeof(record), bytes }
#define WORD(record, member, word)                                                 \
    Place {                                                                        \
#        record "." #        member, offsetof(record, member), 4 * size_t { word } \
    }

// As programs compiled with the headers see them; what they were compiled with in the library is
// the library's own to know.
TEST(Dll, RecordsAreLaidOutAsEver) {
    const Place places[] = {
        SIZE(ERR_OBJECT, 40),
        SIZE(ERR_HANDLER, 12),
        SIZE(FMT_ASPECT, 16),
        SIZE(ZOR_CAPABILITY, 32),
        WORD(ZOR_CAPABILITY, flags, 7),
        SIZE(ZOR_CAP_ENTRY, 20),
        SIZE(ZOR_CAP_LIST, 12),
        SIZE(ZOR_CAP_SETTING, 8),
        SIZE(ZOR_CHANNELS, 12),
        SIZE(ZOR_FORMAT, 112),
        WORD(ZOR_FORMAT, access, 20),
        SIZE(ZOR_RESPONSE_CURVE, 32),
        SIZE(ZOR_NAME_ELEMENT, 40),
        SIZE(ZOR_INFO, 192),
        WORD(ZOR_INFO, cap_settings, 13),
        WORD(ZOR_INFO, marker, 19),
        WORD(ZOR_INFO, primaries, 20),
        WORD(ZOR_INFO, images, 33),
        WORD(ZOR_INFO, frame_rate, 35),
        WORD(ZOR_INFO, first_frame, 39),
        SIZE(ZOR_IMAGE_DESC, 156),
        WORD(ZOR_IMAGE_DESC, win_left, 9),
        WORD(ZOR_IMAGE_DESC, chan_format, 19),
        WORD(ZOR_IMAGE_DESC, image, 20),
        WORD(ZOR_IMAGE_DESC, picture_format, 30),
        WORD(ZOR_IMAGE_DESC, frame, 35),
        SIZE(ZOR_IMAGE, 272),
        WORD(ZOR_IMAGE, key, 3),
        WORD(ZOR_IMAGE, images, 21),
        WORD(ZOR_IMAGE, mode, 24),
        WORD(ZOR_IMAGE, scan, 25),
        WORD(ZOR_IMAGE, lock, 40),
        WORD(ZOR_IMAGE, chan_buffers, 64),
        SIZE(ZOR_DRIVER, 128),
        WORD(ZOR_DRIVER, access, 20),
    };
    for (const Place &place : places) {
        std::printf("%-32s %4u\n", place.member, static_cast<unsigned>(place.is));
        EXPECT_EQ(place.is, place.expected) << place.member;
    }
}

} // namespace
