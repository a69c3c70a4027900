/* load_library.c - writes a picture and reads it again with the DLL found at run time: nothing of
 * it is linked, the headers serve for the types only.
 *
 * In the folder of the unpacked package:
 *
 *     gcc -std=c11 -Iinclude examples/load_library.c -o example.exe
 *     example.exe bin\zor.dll modules\mox.dll picture.mox
 */
#include <stdio.h>
#include <string.h>

#include <windows.h>

#include <zor/str.h>
#include <zor/zor.h>

enum { width = 64, height = 48 };

/* The functions wanted: result, name and parameters, as the headers declare them. */
// clang-format off
#define FUNCTIONS(USE)                                                                      \
    USE(int, ZOR_init, (void *catalogue, ZOR_ENUMERATE enumerate))                          \
    USE(int, ZOR_exit, (void))                                                              \
    USE(void, ZOR_info_init, (ZOR_INFO *info))                                              \
    USE(void, ZOR_info_cleanup, (ZOR_INFO *info, unsigned char free_contents))              \
    USE(ZOR_IMAGE_DESC *, ZOR_info_add_image, (ZOR_INFO *info, int32_t w, int32_t h))       \
    USE(ZOR_IMAGE *, ZOR_open, (const ZOR_INFO *info, const char *mode))                    \
    USE(int, ZOR_close, (ZOR_IMAGE *image))                                                 \
    USE(int, ZOR_scan_read, (ZOR_IMAGE *image, int32_t y, void ***rows))                    \
    USE(int, ZOR_scan_write, (ZOR_IMAGE *image, int32_t y, void **rows))                    \
    USE(char *, STR_save, (const char *string))

/* Each is a member of zor. */
#define MEMBER(result, name, parameters) result (*name) parameters;
static struct { FUNCTIONS(MEMBER) } zor;

/* A type that the headers do not confirm is refused when this is compiled. */
#define CHECK(result, name, parameters) \
    _Static_assert(_Generic(name, result (*) parameters: 1, default: 0), #name);
FUNCTIONS(CHECK)
// clang-format on

static int32_t *status; /* the variable zor__err */

static HMODULE module;

static unsigned char next_module(void **handle, const char **name) {
    *handle = module;
    *name = "mox.dll";
    module = NULL;
    return *handle != NULL;
}

/* Makes a typed pointer to what the DLL has under a name; counts what is missing. */
static int missing;
static void find(HMODULE library, const char *name, void *pointer) {
    const FARPROC address = GetProcAddress(library, name);
    memcpy(pointer, &address, sizeof address);
    missing += address == NULL;
}

static ZOR_IMAGE *open_picture(const char *path, const char *mode) {
    ZOR_INFO info;
    zor.ZOR_info_init(&info);
    info.file_name = zor.STR_save(path);
    info.key = zor.STR_save("mox");
    if (*mode == 'w') {
        ZOR_IMAGE_DESC *desc = zor.ZOR_info_add_image(&info, width, height);
        desc->image.count = 1;
        desc->image.type = ZOR_C_INTEGER;
        desc->image.bits = 16;
    }
    ZOR_IMAGE *image = zor.ZOR_open(&info, mode);
    zor.ZOR_info_cleanup(&info, 1);
    return image;
}

static void fill(uint16_t *row, int y) {
    for (int x = 0; x < width; ++x)
        row[x] = (uint16_t)(1000 * y + x / 8);
}

static int write_and_read(const char *path) {
    uint16_t row[width];
    void *channels[1] = {row};
    void **rows = NULL;
    ZOR_IMAGE *image = open_picture(path, "w");
    for (int y = 0; y < height && *status == 0; ++y) {
        fill(row, y);
        zor.ZOR_scan_write(image, y, channels);
    }
    if (*status != 0 || zor.ZOR_close(image) != 0)
        return *status;
    image = open_picture(path, "r");
    for (int y = 0; y < height && *status == 0; ++y) {
        fill(row, y);
        if (zor.ZOR_scan_read(image, y, &rows) == 0 && memcmp(rows[0], row, sizeof row) != 0)
            return ZOR_E_DECODE;
    }
    return *status != 0 ? *status : zor.ZOR_close(image);
}

int main(int argc, char **argv) {
    if (argc != 4)
        return 2;
    const HMODULE library = LoadLibraryA(argv[1]);
    module = LoadLibraryA(argv[2]);
    if (library == NULL || module == NULL)
        return 2;
#define FIND(result, name, parameters) find(library, #name, &zor.name);
    FUNCTIONS(FIND)
    find(library, "zor__err", &status);
    if (missing != 0 || zor.ZOR_init(NULL, next_module) != 0)
        return 1;
    const int result = write_and_read(argv[3]);
    zor.ZOR_exit();
    printf("%s: %s\n", argv[3], result == 0 ? "the same as written" : "failed");
    return result == 0 ? 0 : 1;
}
