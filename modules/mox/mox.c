/* mox.c - the module of the library's own run-length coded format, and of its sibling variant.
 *
 * The driver itself is part of the library; a module gives it its key. The build defines
 *   MOX_KEY   key of the format
 *   MOX_NAME  its name for display
 */
#include <zor/driver.h>

ZOR_MODULE(MOX_KEY, "." MOX_KEY, MOX_NAME, ZOR_ORIENTATION_RISING);
ZOR_MODULE_TEXT(imageDescription, "Run-length coded rows of any channels, with sub-images");
ZOR_MODULE_NUMBER(imageUsage, ZOR_USAGE_STILL | ZOR_USAGE_SUB_IMAGES);
ZOR_MODULE_NUMBER(imageAccess, ZOR_ACCESS_READ | ZOR_ACCESS_WRITE | ZOR_ACCESS_RANDOM_READ);
ZOR_MODULE_NUMBER(imageSupportsActiveWindow, 1);

/* All widths from 1 to 32 bits; as many channels as a header can count. */
#define ALL_WIDTHS (-1)
#define MOST_COUNTED 32767
ZOR_MODULE_NUMBER(imageNumberOfChannels, 3);
ZOR_MODULE_NUMBER(imageBitsPerChannel, ALL_WIDTHS);
ZOR_MODULE_NUMBER(imageNumberOfMattes, MOST_COUNTED);
ZOR_MODULE_NUMBER(imageBitsPerMatte, ALL_WIDTHS);
ZOR_MODULE_NUMBER(imageNumberOfZChannels, MOST_COUNTED);
ZOR_MODULE_NUMBER(imageBitsPerZChannel, ALL_WIDTHS);

unsigned char imageIsFile(void *file_name, void *stream) {
    return ZOR_mox_is_file(file_name, stream);
}

int imageReadOpen(ZOR_IMAGE *image) { return ZOR_mox_r_open(image); }

int imageWriteOpen(ZOR_IMAGE *image) { return ZOR_mox_w_open(image); }
