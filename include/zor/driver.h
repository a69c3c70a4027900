/* driver.h - for authors of driver modules and operators.
 *
 * A driver module teaches the library one image format. It is a shared library that exports a fixed
 * set of symbols: variables that describe the format and functions that open files. The library
 * reads them once, at start-up; whatever is missing has a default. This is a whole module that
 * reads a format:
 *
 *     #include <string.h>
 *     #include <zor/driver.h>
 *
 *     ZOR_MODULE("raw8", ".raw8", "Raw bytes", 0);      // falling order: top row first
 *     ZOR_MODULE_NUMBER(imageAccess, ZOR_ACCESS_READ);  // no writing
 *
 *     struct reader { FILE *file; void **rows; int next; };
 *
 *     static int scan_line(void *state, int y, void **rows) {
 *         struct reader *reader = state;
 *         if (y < 0 || y != reader->next)
 *             return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
 *         if (fread(reader->rows[0], 1, 640, reader->file) != 640)
 *             return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_READ, y, "file too short");
 *         --reader->next;
 *         *rows = reader->rows;                         // hand out the channel pointers
 *         return 0;
 *     }
 *
 *     static int close_file(ZOR_IMAGE *image) {
 *         struct reader *reader = image->data[0];
 *         zor__close_file(image, reader->file);
 *         ERR_free(reader);
 *         zor__free_obj(image);                         // the handle itself goes last
 *         return 0;
 *     }
 *
 *     static int give_up(ZOR_IMAGE *image, FILE *file) {
 *         zor__close_file(image, file);
 *         return 0;                                     // the library frees the handle
 *     }
 *
 *     ZOR_MODULE_EXPORT int imageReadOpen(ZOR_IMAGE *image) {
 *         FILE *file = zor__open_file(image);           // reports failures, as all below
 *         if (file == NULL) return 0;
 *         if (zor__build_handle(image, 1) != 0) return give_up(image, file);
 *         zor__describe(&image->images[0], 640, 480, 1, 8);
 *         struct reader reader = {file, ZOR_chan_alloc(image, 0), 479};
 *         image->data[0] = ERR_malloc(sizeof reader);
 *         if (reader.rows == NULL || image->data[0] == NULL) {
 *             ERR_free(image->data[0]);
 *             return give_up(image, file);
 *         }
 *         memcpy(image->data[0], &reader, sizeof reader);
 *         image->scan = scan_line;
 *         image->close = close_file;
 *         return 1;
 *     }
 *
 * Writing is the same the other way round: imageWriteOpen finds the descriptions filled in, their
 * orientation set from imageOrientation, and installs a scan function that takes samples from the
 * rows it is given; what cannot be stored shows in the status of a scan or the close call. A module
 * is compiled on its own and finds the library in the program that loads it:
 *
 *     cc -shared -fPIC raw8.c -o modules/raw8.so $(pkg-config --cflags zor)
 *     zor --modules modules formats
 *
 * The rules of the trade:
 *   - No exception, and no longjmp, may leave a driver function.
 *   - A driver function that fails reports with a message of messages.h, sets zor__err (zor__fail
 *     does both) and returns a negative status, or 0 from an open function.
 *   - An open function that fails releases all it made itself but not the handle.
 *   - Tests of files and init and done functions call neither the format queries nor ZOR_open,
 *     ZOR_init or ZOR_exit.
 *   - A scan function reads into, and on writing takes its samples from, one row for each channel:
 *     colour channels first, then mattes, then auxiliaries, each the full window wide. The rows
 *     handed out on reading stay valid until the next scan call on the handle and are scratch:
 *     operators convert them in place, so a driver never hands out rows that it keeps.
 *   - Calls on one handle never overlap, those for frames and playback excepted; calls on different
 *     handles may.
 *   - A module with imageMultiFrame has its reading handles kept open after they were closed, and
 *     given out again as they were left: at whatever frame and line. It does best to read the lines
 *     of a frame in any order, or at least to start over at the first one; and to offer seek, since
 *     what the library does without it opens the file again, at its first frame.
 */
#ifndef ZOR_DRIVER_H
#define ZOR_DRIVER_H

#include <stdio.h>

#include "curve.h"
#include "messages.h"
#include "str.h"
#include "zor.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The driver protocol this header describes; modules export it as "version". */
#define ZOR_DRIVER_VERSION "3.2"

/* Modes of a handle. */
enum { ZOR_MODE_READ = 4, ZOR_MODE_WRITE = 8 };

/* Functions of a driver ---------------------------------------------------------------------------
 *
 * Open and close functions take the handle. All others take the driver's state: the content of data
 * slot 0.
 */

/* Opens the file that the handle names, for the handle's mode. Windows must not be empty, nor wider
 * or higher than 31 bits tell, no right or top side is INT32_MAX, and the active one lies inside; in
 * a file of rising order that is read in sequence no line should have the number -1, because it
 * stands for "none yet". Counts of channels are not negative, and all together no more than 2^24. A
 * file that is written has one image at least. On success it has filled in the descriptions
 * (reading), installed scan and close and a non-null data slot 0, and stored the path it opened in
 * file_name (zor__open_file does). Returns 1, or 0 on failure. What cannot be is refused and the
 * close function called, num_images being within num_slots by then. */
typedef int (*ZOR_OPEN_FUNCTION)(ZOR_IMAGE *image);

/* Ends the file and frees everything, the handle last (zor__free_obj). Returns 0 or a negative
 * status; the handle is gone in either case. */
typedef int (*ZOR_CLOSE_FUNCTION)(ZOR_IMAGE *image);

/* Transfers scanline y, counted upward from the window's bottom row.
 *   rows  reading: the address of a variable that receives the channel-pointer array, *rows =
 *         channels; writing: the channel-pointer array itself, rows[k] being channel k's row
 * Returns 0 or a negative status. */
typedef int (*ZOR_SCAN_FUNCTION)(void *state, int y, void **rows);

/* Like a scan, with four further words: the channel-pointer array, the first and last column, and
 * flags. What exactly they mean is the driver's business; for MOX zor.h tells. */
typedef int (*ZOR_DIRECT_FUNCTION)(void *state, int y, ZOR_WORD channels, ZOR_WORD first,
                                   ZOR_WORD last, ZOR_WORD flags);

/* Reads a whole raster, or a region of it, into the caller's channels: the channel-pointer array,
 * then left, right, bottom and top. Likewise the driver's business. */
typedef int (*ZOR_RASTER_FUNCTION)(void *state, ZOR_WORD channels, ZOR_WORD left, ZOR_WORD right,
                                   ZOR_WORD bottom, ZOR_WORD top);

/* Moves many lines, for ZOR_raster_read or ZOR_raster_write as the handle's mode is. The state is
 * that of the raster's sub-image. The raster has been checked against the description: it lies in
 * the window and has a plane for each channel; what is written has whole lines and no null planes.
 * It and its planes are the library's copy, no step or number of threads left to 0 and at most 64
 * threads; num_threads is the most there may be. Threads are the driver's to start and to end, and
 * only the calling one may use the library: reports and allocations are calls of the application.
 * Sets lines_done, which is 0 before. Returns 0 or a negative status, for the lowest line that
 * fails. */
typedef int (*ZOR_MOVE_FUNCTION)(void *state, ZOR_RASTER *raster);

/* Makes the next sequential transfer start at a scanline; -1 is the first one in file order. */
typedef int (*ZOR_SEEK_FUNCTION)(void *state, int y);

/* Frames of a multi-frame file, and playback. They are called for files whose num_frames is
 * positive. The words are between application and driver. Those that go to a frame describe it as
 * an open function would. */
typedef int (*ZOR_FRAME_FUNCTION)(void *state, ZOR_WORD frame);
typedef int (*ZOR_PLAYBACK_BIND_FUNCTION)(void *state, ZOR_WORD a, ZOR_WORD b);
typedef int (*ZOR_PLAYBACK_PLAY_FUNCTION)(void *state, ZOR_WORD a, ZOR_WORD b, ZOR_WORD c,
                                          ZOR_WORD d, ZOR_WORD e);
typedef int (*ZOR_PLAYBACK_PARAMS_FUNCTION)(void *state, ZOR_WORD a, ZOR_WORD b, ZOR_WORD c,
                                            ZOR_WORD d, ZOR_WORD e, ZOR_WORD f, ZOR_WORD g,
                                            ZOR_WORD h);
typedef int (*ZOR_PLAYBACK_STOP_FUNCTION)(void *state, ZOR_WORD a);

typedef int (*ZOR_INIT_FUNCTION)(void); /* non-zero to accept; 0 drops the module silently */
typedef void (*ZOR_DONE_FUNCTION)(void);

/* The image handle ----------------------------------------------------------------------------- */

/* An open image. 272 bytes. Before the open function runs the library fills in what it copies from
 * the info record (names as there), points data at own_slot, and on writing fills in the
 * descriptions. Texts and descriptions belong to the handle and are freed by zor__free_obj; a
 * driver that replaces a text frees the old one and stores one from STR_save. */
struct ZOR_IMAGE {
    void **data; /* a private pointer for each sub-image; functions get that of slot 0 */
    ZOR_WORD driver_words[2]; /* the driver's own */
    char *key;
    char *file_name;       /* as asked for, then the path that opened */
    int32_t complete_path; /* non-zero: file_name is to be used as it stands */
    char *extension;
    char *description;
    char *program;
    char *machine;
    char *user;
    char *date;
    char *time;
    char *filter;
    char *compression;
    int32_t field_flag;
    int32_t job_number;
    int32_t add_extension;
    int32_t reserved9;
    ZOR_CAP_SETTING **cap_settings; /* the application's, or own_settings */
    int32_t num_images;
    ZOR_IMAGE_DESC *images;
    int32_t num_frames; /* positive in a multi-frame file */
    int32_t first_frame;
    int32_t mode; /* ZOR_MODE_... */
    ZOR_SCAN_FUNCTION scan;
    ZOR_CLOSE_FUNCTION close;
    ZOR_PLAYBACK_BIND_FUNCTION playback_bind; /* null, as all further functions, when the driver */
    ZOR_FRAME_FUNCTION playback_goto;         /* does not offer it */
    ZOR_PLAYBACK_PLAY_FUNCTION playback_play;
    ZOR_PLAYBACK_PARAMS_FUNCTION playback_params;
    ZOR_PLAYBACK_STOP_FUNCTION playback_stop;
    ZOR_FRAME_FUNCTION get_frame;
    ZOR_RASTER_FUNCTION raster;
    ZOR_RASTER_FUNCTION region;
    ZOR_FRAME_FUNCTION set_frame;
    ZOR_SEEK_FUNCTION seek;
    int32_t last_scanline; /* the latest transferred; kept by the library */
    const ZOR_FORMAT *format;
    ZOR_DIRECT_FUNCTION direct_scan;
    void *lock;          /* the library's mutex of this handle */
    float primaries[12]; /* chromaticities (x, y, z) of red, green, blue and white */
    char *name;
    int32_t frame_count;
    float frame_rate;
    int32_t reserved16[3];
    int32_t reserved18[3];
    void *own_slot;     /* storage of a single data slot */
    int32_t num_slots;  /* slots data had when it was made; selecting a sub-image keeps it */
    void *chan_buffers; /* buffers from ZOR_chan_alloc, freed with the handle */
    char *open_name;    /* the file name the application gave */
    ZOR_CAP_SETTING **own_settings; /* the library's copy, in a handle that it keeps open */
    void *driver_state; /* while operators are pushed, the driver's own of the image they are about,
                           which is otherwise in its slot; else null */
};

/* A driver record, as built from a module's symbols. 128 bytes. */
typedef struct ZOR_DRIVER {
    const char *key;
    const char *extension;
    const char *name;
    const char *description;
    int32_t description_set;
    int32_t description_number;
    const char *description_default;
    const char *file_name_format;
    const char *name_syntax;
    int32_t add_extension;
    int32_t usage;
    int32_t orientation;
    int32_t bits_per_palette_entry;
    int32_t num_channels;
    uint32_t bits_per_channel;
    int32_t num_mattes;
    uint32_t bits_per_matte;
    int32_t num_z;
    uint32_t bits_per_z;
    int32_t active_window;
    int32_t access;
    ZOR_CAPABILITY_FUNCTION capability;
    ZOR_CAPS_AVAIL_FUNCTION caps_avail_update;
    ZOR_INIT_FUNCTION init;
    ZOR_DONE_FUNCTION done;
    ZOR_OPEN_FUNCTION read_open;
    ZOR_OPEN_FUNCTION write_open;
    int32_t multi_frame;
    uint8_t hard_link_duplicates;
    uint8_t remote_access;
    ZOR_IS_FILE_FUNCTION is_file;
    ZOR_UI_FUNCTION ui_popdown;
    ZOR_UI_FUNCTION ui_popup;
} ZOR_DRIVER;

/* Help for drivers ----------------------------------------------------------------------------- */

/* Gives a handle n sub-images: n data slots and n descriptions, the ones it had kept and new ones
 * cleared. Drivers leave data, num_slots, images and num_images to this function, which makes room
 * ahead. Returns 0, or a negative status, reported: ZOR_E_MEMORY, or ZOR_E_UNSUPPORTED for fewer
 * than it had or n < 1. */
ZOR_API int zor__build_handle(ZOR_IMAGE *image, int32_t num_images);

/* Fills in a cleared description for the plainest image: a window from (0, 0), all of it active,
 * with num_channels (1 to 3) integer colour channels of the given width and nothing else. */
ZOR_API void zor__describe(ZOR_IMAGE_DESC *desc, int32_t width, int32_t height,
                           int32_t num_channels, int32_t bits);

/* Offers whole frames for the handle, beside scanlines: for open functions, of readers that can
 * read lines in any order. The handle must be one that the library made. */
ZOR_API void zor__offer_rasters(ZOR_IMAGE *image, ZOR_MOVE_FUNCTION move);

/* Frees a handle with all that belongs to it: texts, descriptions, slots and channel buffers. The
 * last act of a close function. Null is ignored. */
ZOR_API void zor__free_obj(ZOR_IMAGE *image);

/* Opens the file a handle names in the handle's mode, for binary data. "/dev/stdin" and
 * "/dev/stdout" are the standard streams. A complete path is opened as it stands; otherwise the
 * extension is added (see ZOR_pathname_build_no_name_syntax), and reading tries the name as it is
 * and then in the directory $QK_IMG_DIR, while writing goes to $QK_IMG_DIR at once. The path that
 * opened replaces file_name; on failure it is the path tried last. Returns null on failure,
 * reported: ZOR_MSG_CANNOT_OPEN with ZOR_E_OPEN, or lack of memory with ZOR_E_MEMORY. */
ZOR_API FILE *zor__open_file(ZOR_IMAGE *image);

/* fopen for drivers that are asked about a file by name. The library's names are UTF-8 on every
 * system, which fopen does not take everywhere. Nothing is reported. */
ZOR_API FILE *zor__open_named_file(const char *path, const char *mode);

/* Closes such a file; standard streams are flushed and stay open, in the mode, text or binary, that
 * they were in before. Returns 0, or EOF when data could not be written, now or before. Nothing is
 * reported. */
ZOR_API int zor__close_file(ZOR_IMAGE *image, FILE *file);

/* Deletes the file behind a write handle whose open failed; standard streams and devices are left
 * alone. */
ZOR_API void zor__remove_file(ZOR_IMAGE *image);

/* Row buffers for a description: a null-terminated array with a pointer for each channel, in one
 * block with the rows, all cleared. Rows start at addresses divisible by 64 and have at least 64
 * spare bytes behind them.
 *   width  samples in a row
 *   who    named in the messages when a type or width cannot be held
 * Returns null on failure: ZOR_E_UNSUPPORTED or ZOR_E_MEMORY, reported. Released by zor__chan_free,
 * which ignores null. */
ZOR_API void **zor__chan_alloc(const ZOR_IMAGE_DESC *desc, int32_t width, const char *who);
ZOR_API void zor__chan_free(void **channels);

/* The MOX driver carried by the library, for modules that offer it under a key of their own. */
ZOR_API unsigned char ZOR_mox_is_file(void *name, void *stream);
ZOR_API int ZOR_mox_r_open(ZOR_IMAGE *image);
ZOR_API int ZOR_mox_w_open(ZOR_IMAGE *image);

/* The core's own machinery ------------------------------------------------------------------------
 *
 * The cache of open multi-frame files, as start-up, ZOR_open and ZOR_close work it. Applications
 * and drivers have no use for these.
 */

/* Empties the cache without closing what is in it, and turns it off, with the limit 0. */
ZOR_API void ZOR_multiframe_init(void);

/* A kept handle for a request, counted as one more use of it, or null: open the file. */
ZOR_API ZOR_IMAGE *ZOR_multiframe_open(const ZOR_INFO *info);

/* Keeps a handle that has just been opened, if its format is a multi-frame one; makes room by
 * closing the unused handle that is oldest. A handle that cannot be kept (reported) is none the
 * worse for it. */
ZOR_API void ZOR_multiframe_add(ZOR_IMAGE *image, const ZOR_INFO *info);

/* Ends one use of a kept handle and closes unused ones above the limit; closes any other handle.
 * Returns 0, or what closing returned; 0 without doing anything when the cache is off. */
ZOR_API int ZOR_multiframe_set_closed(ZOR_IMAGE *image);

/* A module's symbols ------------------------------------------------------------------------------
 *
 * symbol                      default           meaning
 * version                     required          "3.2"
 * imageKey                    required          short unique name
 * imageName                   required          name for display
 * imageOrientation            required          ZOR_ORIENTATION_... bits
 * imageExtension              ""                with its dot
 * imageDescription            null
 * imageFormatString           "%s.%04.4d%s"     joins base name, frame number and extension
 * imageNameSyntax             null              such as "name.####.ext"
 * imageAddExtension           1                 append the extension to names
 * imageUsage                  1                 ZOR_USAGE_... bits
 * imageBitsPerPaletteEntry    0
 * imageNumberOfChannels       3                 most colour channels
 * imageBitsPerChannel         128               integer widths: bit n - 1 for n bits
 * imageNumberOfMattes         0
 * imageBitsPerMatte           0
 * imageNumberOfZChannels      0                 most auxiliary channels
 * imageBitsPerZChannel        0
 * imageSupportsActiveWindow   0
 * imageAccess                 12                ZOR_ACCESS_... bits
 * imageMultiFrame             0
 * imageHardLinkDuplicates     1  (a byte)
 * imageSupportRemoteAccess    0  (a byte)
 * imageReadOpen               -                 needed with ZOR_ACCESS_READ
 * imageWriteOpen              -                 needed with ZOR_ACCESS_WRITE
 * imageIsFile, imageInit, imageDone, imageCapability, imageCapsAvailUpdate,
 * imagePrivateUIPopup, imagePrivateUIPopdown    -
 *
 * Texts are variables of type char *, not arrays; numbers are 32-bit ints, bytes are chars. They
 * are read once, after imageInit has run, so imageInit may still change the others than version.
 */

#if defined(__cplusplus)
#    define ZOR_MODULE_EXPORT extern "C" ZOR_EXPORT
#else
#    define ZOR_MODULE_EXPORT extern ZOR_EXPORT
#endif

/* One descriptive symbol each. */
#define ZOR_MODULE_VALUE_(type, symbol, value) \
    ZOR_MODULE_EXPORT type symbol;             \
    type symbol = (value)
#define ZOR_MODULE_TEXT(symbol, text) ZOR_MODULE_VALUE_(const char *, symbol, text)
#define ZOR_MODULE_NUMBER(symbol, number) ZOR_MODULE_VALUE_(int, symbol, number)
#define ZOR_MODULE_BYTE(symbol, byte) ZOR_MODULE_VALUE_(char, symbol, byte)

/* The symbols every module needs, and declarations of the functions it may define, so that a wrong
 * signature does not compile. Write it once, at file scope, and a semicolon after it. */
#define ZOR_MODULE(key, extension, name, orientation)                                              \
    ZOR_MODULE_EXPORT int imageReadOpen(ZOR_IMAGE *image);                                         \
    ZOR_MODULE_EXPORT int imageWriteOpen(ZOR_IMAGE *image);                                        \
    ZOR_MODULE_EXPORT unsigned char imageIsFile(void *file_name, void *stream);                    \
    ZOR_MODULE_EXPORT int imageInit(void);                                                         \
    ZOR_MODULE_EXPORT void imageDone(void);                                                        \
    ZOR_MODULE_EXPORT void imageCapability(ZOR_CAPABILITY **list, int32_t *first, int32_t *second, \
                                           int32_t *count);                                        \
    ZOR_MODULE_EXPORT unsigned char imageCapsAvailUpdate(ZOR_WORD x, ZOR_WORD y);                  \
    ZOR_MODULE_EXPORT void imagePrivateUIPopup(void);                                              \
    ZOR_MODULE_EXPORT void imagePrivateUIPopdown(void);                                            \
    ZOR_MODULE_TEXT(version, ZOR_DRIVER_VERSION);                                                  \
    ZOR_MODULE_TEXT(imageKey, key);                                                                \
    ZOR_MODULE_TEXT(imageExtension, extension);                                                    \
    ZOR_MODULE_TEXT(imageName, name);                                                              \
    ZOR_MODULE_NUMBER(imageOrientation, orientation)

#ifdef __cplusplus
}
#endif
#endif
