/* option_module.c - a format of options alone: what it writes is a list of the settings it was
 * given. One of its names is a text of the message catalogue's, and one option is not to be had. */
#include <zor/driver.h>

ZOR_MODULE("option", ".option", "Options", 0);
ZOR_MODULE_NUMBER(imageAccess, ZOR_ACCESS_WRITE);

static ZOR_CAP_ENTRY packings[] = {{0, 0, "none", 0, 0, 0},
                                   {5, 0, 0, 1, 9, "tight"},
                                   {6, 0, "loose", 0, 0, 0},
                                   {0, 0, 0, 0, 0, 0}};
static ZOR_CAP_LIST packing = {5, 0, 3, packings};
static ZOR_CAPABILITY capabilities[] = {
    {0, "packing", 0, 0, 0, 0, {0, 0, 0}, &packing, 0},
    {1, 0, 1, 8, "quality", 1, {0, 0, 0}, 0, 0},
    {0, "tiles", 0, 0, 0, 2, {0, 0, 0}, 0, 0},
    {3, "magic", 0, 0, 0, 2, {0, 0, 0}, 0, 4},
};

ZOR_MODULE_EXPORT void imageCapability(ZOR_CAPABILITY **list, int32_t *first, int32_t *second,
                                       int32_t *count) {
    *list = capabilities;
    *first = *second = 0;
    *count = sizeof capabilities / sizeof capabilities[0];
}

static int ignore_line(void *state, int y, void **rows) {
    (void)state, (void)y, (void)rows;
    return 0;
}

static int close_file(ZOR_IMAGE *image) {
    FILE *file = image->data[0];
    const int failed = zor__close_file(image, file);
    zor__free_obj(image);
    return failed != 0 ? ZOR_E_WRITE : 0;
}

ZOR_MODULE_EXPORT int imageWriteOpen(ZOR_IMAGE *image) {
    FILE *file = zor__open_file(image);
    if (file == NULL)
        return 0;
    for (ZOR_CAP_SETTING **setting = image->cap_settings; setting && *setting; ++setting) {
        if ((*setting)->code == 1)
            fprintf(file, "1: %.2f\n", (double)(*setting)->value.real);
        else
            fprintf(file, "%d: %d\n", (*setting)->code, (int)(*setting)->value.number);
    }
    image->data[0] = file;
    image->scan = ignore_line;
    image->close = close_file;
    return 1;
}
