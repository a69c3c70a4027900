/* import_library.c - writes a picture and reads it again, linked with the import library.
 *
 * In the folder of the unpacked package:
 *
 *     gcc -std=c11 -Iinclude examples/import_library.c -Llib -lzor -o bin/example.exe
 *     bin\example.exe modules\mox.dll picture.mox
 */
#include <stdio.h>
#include <string.h>

#include <windows.h>

#include <zor/str.h>
#include <zor/zor.h>

enum { width = 64, height = 48 };

static HMODULE module;

/* Hands the one module over, then nothing. */
static unsigned char next_module(void **handle, const char **name) {
    *handle = module;
    *name = "mox.dll";
    module = NULL;
    return *handle != NULL;
}

static void fill(unsigned char rows[3][width], int y) {
    for (int x = 0; x < width; ++x) {
        rows[0][x] = (unsigned char)(4 * x);
        rows[1][x] = (unsigned char)(5 * y);
        rows[2][x] = 26;
    }
}

static int write_picture(const char *path) {
    ZOR_INFO info;
    ZOR_info_init(&info);
    info.file_name = STR_save(path);
    info.key = STR_save("mox");
    ZOR_IMAGE_DESC *desc = ZOR_info_add_image(&info, width, height);
    desc->image.count = 3;
    desc->image.type = ZOR_C_INTEGER;
    desc->image.bits = 8;
    ZOR_IMAGE *image = ZOR_open(&info, "w");
    ZOR_info_cleanup(&info, 1);
    if (image == NULL)
        return zor__err;
    int status = 0;
    for (int y = 0; y < height && status == 0; ++y) {
        unsigned char rows[3][width];
        void *channels[3] = {rows[0], rows[1], rows[2]};
        fill(rows, y);
        status = ZOR_scan_write(image, y, channels);
    }
    const int closed = ZOR_close(image);
    return status != 0 ? status : closed;
}

static int read_picture(const char *path) {
    ZOR_INFO info;
    ZOR_info_init(&info);
    info.file_name = STR_save(path);
    ZOR_IMAGE *image = ZOR_open(&info, "r");
    ZOR_info_cleanup(&info, 1);
    if (image == NULL)
        return zor__err;
    int status = 0;
    for (int y = 0; y < height && status == 0; ++y) {
        unsigned char expected[3][width];
        void **channels = NULL;
        fill(expected, y);
        status = ZOR_scan_read(image, y, &channels);
        for (int k = 0; k < 3 && status == 0; ++k)
            status = memcmp(channels[k], expected[k], width) != 0 ? ZOR_E_DECODE : 0;
    }
    ZOR_close(image);
    return status;
}

int main(int argc, char **argv) {
    if (argc != 3)
        return 2;
    module = LoadLibraryA(argv[1]);
    if (module == NULL || ZOR_init(NULL, next_module) != 0)
        return 1;
    int status = write_picture(argv[2]);
    if (status == 0)
        status = read_picture(argv[2]);
    ZOR_exit();
    printf("%s: %s\n", argv[2], status == 0 ? "the same as written" : "failed");
    return status == 0 ? 0 : 1;
}
