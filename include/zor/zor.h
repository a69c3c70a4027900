/* zor.h - one interface to read and write raster images of many formats.
 *
 * Formats come from driver modules, all but two that the library carries: "pipe" streams an image
 * to the standard output, "mem" keeps images in memory. The application loads the modules it wants
 * and hands them to ZOR_init; from then on a file is opened for reading or writing, its scanlines
 * are moved one by one, and it is closed again:
 *
 *     ZOR_init(NULL, next_module);                 // which delivers one loaded module a call
 *
 *     ZOR_INFO *info = ZOR_info_alloc();
 *     info->file_name = STR_save("shot.0001.mox"); // str.h
 *     info->complete_path = 1;
 *
 *     ZOR_IMAGE *image = ZOR_open(info, "r");
 *     if (image != NULL) {
 *         const ZOR_IMAGE_DESC *desc = ZOR_image_desc(image, 0);
 *         const int rising = desc->orientation & ZOR_ORIENTATION_RISING;
 *         int32_t y = rising ? desc->win_bottom : desc->win_top;
 *         while (y >= desc->win_bottom && y <= desc->win_top) {
 *             void **rows;                         // reading: receives the channel pointers
 *             if (ZOR_scan_read(image, y, &rows) != 0)
 *                 break;                           // reported already; zor__err says what it was
 *             const uint8_t *red = rows[0];        // where desc->image says 8-bit integers
 *             ...
 *             y += rising ? 1 : -1;
 *         }
 *         ZOR_close(image);
 *     }
 *     ZOR_info_free(info, 1);
 *     ZOR_exit();
 *
 * Writing hands the rows over instead: an array with one row for each channel, colour channels
 * first, then mattes, then auxiliaries, every row as wide as the window:
 *
 *     void *rows[4] = {red, green, blue, alpha};
 *     ZOR_scan_write(image, y, rows);
 *
 * Rules that hold throughout:
 *   - Integer results are 0 or more for success and a negative status for failure; pointers are
 *     null on failure. The reason has been reported by then (err.h) and left in zor__err.
 *   - Texts and records the library returns stay its own unless a comment says otherwise.
 *   - Rows count upward: y runs from win_bottom to win_top, both included; in "mem" alone it runs
 *     from 0, wherever the window lies. Many formats can only be moved in their file's order:
 *     rising when the description's orientation has ZOR_ORIENTATION_RISING, else falling. Formats
 *     whose access has ZOR_ACCESS_RANDOM_READ can be read in any order, and ZOR_seek moves within
 *     the others.
 *   - Samples: records.h tells how channels are held in memory.
 *
 * Threads: opening, closing and probing take one lock of the library's, calls on an open image a
 * lock of that image, so different images may be used by different threads. Start-up and shut-down,
 * the format queries and everything that reads configuration belong to one thread. So does the
 * reporter: when two threads fail at the same moment their messages may mix.
 */
#ifndef ZOR_ZOR_H
#define ZOR_ZOR_H

#include <stdint.h>

#include "err.h"
#include "records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Channel formats that code may compare a description's chan_format with: "raw" and "rgb". */
extern ZOR_API const char ZOR_LITERAL_HARD_FORMAT_TYPE_RAW[4];
extern ZOR_API const char ZOR_LITERAL_HARD_FORMAT_TYPE_RGB[4];

/* Start-up and shut-down ----------------------------------------------------------------------- */

/* Delivers the next loaded driver module.
 *   module  receives the module's handle, as dlopen or LoadLibrary returned it; null is skipped
 *   name    receives the module's name for messages; it must stay valid during ZOR_init
 * Returns non-zero while it delivered one, 0 when there are no more. */
typedef unsigned char (*ZOR_ENUMERATE)(void **module, const char **name);

/* Brings the library up: reads the site's and the user's defaults, then builds the registry of
 * formats from the modules and the built-in drivers. A module that is not fit for use is reported
 * and skipped; of two with the same key the later one counts. Once the library is up a further call
 * only rewinds ZOR_info.
 *   catalogue  the application's message catalogue, handed on to every report; may be null
 *   enumerate  null for no modules
 * Returns 0, or a negative value with zor__err set. */
ZOR_API int ZOR_init(void *catalogue, ZOR_ENUMERATE enumerate);

/* Takes the library down again. All images must be closed, and those that are kept open are closed
 * now; modules stay loaded until the application unloads them, which it may do afterwards. Does
 * nothing when the library is down, or is just being started. Returns 0. */
ZOR_API int ZOR_exit(void);

/* Does nothing; for module loaders that expect an entry to call. */
ZOR_API void ZOR_dso_init(void);

/* Keeps what modules need linked into the library. Not to be called. */
ZOR_API void ZOR_symbols(void);

/* The open request ----------------------------------------------------------------------------- */

/* A new record with its initial values, or null. */
ZOR_API ZOR_INFO *ZOR_info_alloc(void);

/* Sets a record of the application's to its initial values; what it held before is not freed. */
ZOR_API void ZOR_info_init(ZOR_INFO *info);

/* Ends a record; with free_contents its texts and descriptions are freed too. ZOR_info_free also
 * frees the record itself, which then must come from ZOR_info_alloc, and returns 0. Cleaning up
 * twice is harmless and earns a warning on the standard error stream. */
ZOR_API void ZOR_info_cleanup(ZOR_INFO *info, unsigned char free_contents);
ZOR_API int ZOR_info_free(ZOR_INFO *info, unsigned char free_contents);

/* Appends a description to a record that is to be opened for writing: a window from (0, 0) to
 * (width - 1, height - 1), all of it active, three 8-bit colour channels, no frame number, all else
 * left to the defaults. Change it as needed. Returns the description, which the next call may
 * move; null when memory ran out. */
ZOR_API ZOR_IMAGE_DESC *ZOR_info_add_image(ZOR_INFO *info, int32_t width, int32_t height);

/* Fills a record with all that is known of an open image, as private copies: with another
 * file_name, key and extension (ERR_free what stands there; a null key or extension leaves it to
 * the name or the format) it opens a copy of the image for writing. What the record held is not
 * freed. Capability settings are not taken over, and a tabulated response curve stays shared: keep
 * the image open as long as the record is used. Returns 0 or ZOR_E_MEMORY. */
ZOR_API int ZOR_info_from_image(ZOR_INFO *info, const ZOR_IMAGE *image);

/* Opening and closing -------------------------------------------------------------------------- */

/* Opens an image. The format is the record's key's; without a key it is the one whose extension the
 * file name ends with, plug-ins before built-ins, or else the default key's (ZOR_def_key).
 *
 * A name without the complete_path mark gets the format's extension, or on writing the record's,
 * unless it has it already or the format or the record declines; reading then looks in the current
 * directory and in $QK_IMG_DIR, writing goes to $QK_IMG_DIR. "/dev/stdin" and "/dev/stdout" are the
 * standard streams. (Writing looks at the low byte of complete_path only.)
 *
 * Writing needs at least one description in the record (ZOR_info_add_image); the channels it asks
 * for are checked against what the format can store. Scanlines are then written in the order the
 * handle's own description tells (ZOR_image_desc, orientation).
 *   mode  "r" or "w"
 * Returns the handle, or null. Failures, all of ERR_ERROR: ZOR_MSG_BAD_MODE (ZOR_E_ARGUMENT),
 * ZOR_MSG_INVALID_TYPE (ZOR_E_KEY), ZOR_MSG_CANNOT_OPEN, ZOR_MSG_BAD_FILE_NAME and
 * ZOR_MSG_FIELD_MISSING (ZOR_E_OPEN), ZOR_MSG_CANNOT_HANDLE, ZOR_MSG_MULTIPLE_IMAGES and the
 * channel messages (ZOR_E_UNSUPPORTED), ZOR_MSG_NO_MEMORY (ZOR_E_MEMORY), and those of the
 * driver. */
ZOR_API ZOR_IMAGE *ZOR_open(const ZOR_INFO *info, const char *mode);

/* Closes an image; the handle is gone even when it fails. What is written is safe only when closing
 * returned 0. A handle whose driver gave it no close function stays: ZOR_E_UNSUPPORTED. Files of
 * several frames are kept open for a while: see there. */
ZOR_API int ZOR_close(ZOR_IMAGE *image);

/* Closes an image without taking the library's lock: for code that holds it. Nobody may hold the
 * image's own, which is destroyed. ZOR_E_UNSUPPORTED as ZOR_close. */
ZOR_API int ZOR_close_do_it(ZOR_IMAGE *image);

/* Looking at an open image --------------------------------------------------------------------- */

/* Number of images in the file, and the description of one; null when there is no such. The
 * description stays the handle's and is valid until it is closed. */
ZOR_API int32_t ZOR_image_count(const ZOR_IMAGE *image);
ZOR_API const ZOR_IMAGE_DESC *ZOR_image_desc(const ZOR_IMAGE *image, int32_t index);

/* Number of frames in a file that is read, see "Files of several frames"; 0 for a format whose
 * files hold but one picture. */
ZOR_API int32_t ZOR_image_num_frames(const ZOR_IMAGE *image);

/* The format the image is opened with. */
ZOR_API const ZOR_FORMAT *ZOR_image_format(const ZOR_IMAGE *image);

/* Bytes in a sample of a channel group's type and bits: 1, 2, 4 or 8; 0 for a type or width that
 * does not exist. */
ZOR_API int32_t ZOR_sample_size(int32_t type, int32_t bits);

/* Moving scanlines ----------------------------------------------------------------------------- */

/* Reads scanline y of an image opened for reading; nothing but the rows tells it from
 * ZOR_scan_write, so the handle must be of the right mode.
 *   rows  receives the address of an array with one row for each channel: rows[0][k] in the example
 *         above is channel k's row. The rows belong to the handle, may be changed, and are valid
 *         until its next scan call. Null after a failure, in most cases. Must not be null itself
 * Returns 0 or a negative status, zor__err being set likewise: ZOR_MSG_BAD_SCANLINE,
 * ZOR_MSG_CANNOT_READ, ZOR_MSG_CANNOT_DECODE; ZOR_E_UNSUPPORTED without a report when the image is
 * not open for scanlines. */
ZOR_API int ZOR_scan_read(ZOR_IMAGE *image, int32_t y, void ***rows);

/* Writes scanline y.
 *   rows  one row for each channel, full window width; the library may use them as scratch space.
 *         Neither the array nor a row may be null
 * Returns 0 or a negative status. Data is buffered: a full disk may show only later, at the latest
 * when the image is closed. */
ZOR_API int ZOR_scan_write(ZOR_IMAGE *image, int32_t y, void **rows);

/* Like a scan, for drivers that move part of a scanline straight to or from the caller's memory.
 *   channels      the channel-pointer array
 *   first, last   columns, both included
 *   flags         the driver's */
ZOR_API int ZOR_direct_scan_read(ZOR_IMAGE *image, int32_t y, ZOR_WORD channels, ZOR_WORD first,
                                 ZOR_WORD last, ZOR_WORD flags);
ZOR_API int ZOR_direct_scan_write(ZOR_IMAGE *image, int32_t y, ZOR_WORD channels, ZOR_WORD first,
                                  ZOR_WORD last, ZOR_WORD flags);

/* Reads a whole raster, or a region, into the caller's channels, where the driver can.
 *   channels  the channel-pointer array
 * Returns the driver's result, or ZOR_E_UNSUPPORTED after the warning ZOR_MSG_NO_RASTER, which
 * leaves zor__err alone; this also while operators are pushed (ops.h).
 *
 * What these words mean is between application and driver. The MOX driver reads the columns first
 * to last of a line, or the lines bottom to top between the columns left and right, all included,
 * into memory that has room for just them: channels[k] receives channel k, line by line from the
 * bottom up, without gaps; a null pointer leaves the channel out. Rasters and regions are the same
 * to it, flags must be 0, and a direct scan that writes takes whole lines. It fails as
 * ZOR_raster_read and ZOR_raster_write do, which can do more: interleave, and share the work among
 * threads. */
ZOR_API int ZOR_get_raster(ZOR_IMAGE *image, ZOR_WORD channels, ZOR_WORD left, ZOR_WORD right,
                           ZOR_WORD bottom, ZOR_WORD top);
ZOR_API int ZOR_get_region(ZOR_IMAGE *image, ZOR_WORD channels, ZOR_WORD left, ZOR_WORD right,
                           ZOR_WORD bottom, ZOR_WORD top);

/* Whole frames ------------------------------------------------------------------------------------
 *
 * Many lines in one call, straight between the file and the application's memory, and shared among
 * threads when that is asked for:
 *
 *     ZOR_PLANE planes[4] = {{pixels, 4, 0}, {pixels + 1, 4, 0}, {pixels + 2, 4, 0},
 *                            {pixels + 3, 4, 0}};      // rgba, interleaved bytes
 *     ZOR_RASTER raster = {0};
 *     raster.right = width - 1;
 *     raster.top = height - 1;
 *     raster.num_threads = 2;                           // 0: one for each processor
 *     raster.num_planes = 4;
 *     raster.planes = planes;
 *     if (ZOR_raster_read(image, &raster) == ZOR_E_UNSUPPORTED)
 *         ...                                            // line by line, as any format can
 *
 * Each plane says where its channel lies: {samples, 0, 0} is a plane of its own without gaps,
 * column_step sets pixels apart, and a negative row_step with the samples of the last line puts the
 * bottom line last. Samples are those that scanlines would have. Planes that are read into must not
 * overlap.
 *
 * Both return 0 or a negative status, zor__err being set likewise:
 *   - ZOR_E_UNSUPPORTED, without a report, when the driver has no such access for this file, when
 *     the handle is of the other mode, and while operators are pushed (ops.h): use scanlines then;
 *   - ZOR_E_ARGUMENT (ZOR_MSG_CANNOT_HANDLE) for a sub-image, columns, a number of planes or of
 *     threads that cannot be; ZOR_E_SCANLINE (ZOR_MSG_BAD_SCANLINE) for lines outside the window;
 *     ZOR_E_MEMORY (ZOR_MSG_NO_MEMORY); nothing has been moved then;
 *   - what a scan of the line that failed returns and reports. When several lines cannot be moved
 *     it is the lowest of them. lines_done tells how many lines below it are good.
 *
 * The handle's lock is held throughout, as for scanlines. Other threads than the calling one touch
 * the planes and the file only: they report nothing, ask no memory of the allocator, take no
 * signals but those of faults of their own, and are gone when the call returns. Where the system
 * grants fewer threads than asked for, those have to do; the result is the same for any number of
 * them.
 */

/* Reads lines, in any order of calls. A plane whose samples are null is left out: its channel is
 * not decoded. After a failure the line that failed and those above it hold anything. Rows of
 * earlier scan calls are no longer valid. */
ZOR_API int ZOR_raster_read(ZOR_IMAGE *image, ZOR_RASTER *raster);

/* Writes lines: whole ones, bottom being the line that is expected next, so that a frame may be
 * written in several calls, and scanlines in between. The file becomes what scanlines would make of
 * it. The planes are only read. After a failure the line that failed is expected next, and when the
 * file itself can still be written to (ZOR_MSG_CANNOT_WRITE_LINE, "record too long") it and those
 * above may be written anew. */
ZOR_API int ZOR_raster_write(ZOR_IMAGE *image, ZOR_RASTER *raster);

/* Makes the target the scanline to be read next, in drivers that read in file order too: going back
 * closes the file and opens it again, going forward reads and drops what lies between.
 * Descriptions, rows, buffers and operators of the old handle are gone then, and no other thread
 * may be using it; a file of several frames is at its first one again. Standard input cannot be
 * opened again. Drivers that read in any order have nothing to do.
 *   image   address of the handle variable, which may hold another handle afterwards, or null when
 *           the file could not be opened again
 *   target  a scanline, or -1 for the first one in file order; the scan call that follows tells
 *           whether there is such a line
 * Returns 0 or a negative status: that of opening or reading, ZOR_E_UNSUPPORTED for a handle that
 * is not open for reading. */
ZOR_API int ZOR_seek(ZOR_IMAGE **image, int32_t target);

/* Row buffers that fit one sub-image of a handle: a null-terminated array with a cleared row for
 * each channel. They go with the handle unless freed before. Null on failure, reported with the
 * format's key: ZOR_E_UNSUPPORTED for a type or width that cannot be held, or ZOR_E_MEMORY. */
ZOR_API void **ZOR_chan_alloc(ZOR_IMAGE *image, int32_t sub_image);
ZOR_API void ZOR_chan_free(ZOR_IMAGE *image, void **channels);

/* Files of several frames ------------------------------------------------------------------------
 *
 * In a format that declares it (multi_frame in ZOR_FORMAT) one file may hold several frames.
 * Reading handles of such files are kept open after ZOR_close, so that opening the same file with
 * the same capability settings again is quick. A file that changed in between is opened afresh once
 * nobody uses the kept handle.
 *
 * A file that is open already is not opened twice: both get the same handle, which has one frame,
 * one place in the file and one set of rows, and is to be closed by both. A handle given out again
 * is at the frame it was left at, so set the frame; and operators must be undone before ZOR_close,
 * since a kept handle keeps those it has.
 *
 * The calls on a handle need a driver that offers them and a file with several frames; otherwise
 * they report a warning with the file's name and the format's key, return ZOR_E_UNSUPPORTED and
 * leave zor__err alone. Frames and words are between application and driver, which also says what
 * the results mean: 0 or a negative status for set_frame. They take no lock: do not set the frame
 * while another thread moves scanlines of the same handle. A driver that describes a frame as none
 * can be earns ZOR_E_UNSUPPORTED, reported, and images without channels.
 */

/* How many handles are kept. What is kept now is forgotten without being closed: unused handles
 * stay open until the process ends, and one that was opened several times goes with its first
 * ZOR_close. So call it before images are opened.
 *   enabled  0 to keep none
 *   limit    number of handles, those in use included, above which unused ones are closed, the one
 *            not opened for longest first; ZOR_init sets the environment's QK_ZOR_MULTIFRAME_OPEN,
 *            or 15 */
ZOR_API void ZOR_multiframe_set(unsigned char enabled, int32_t limit);

/* The flag set last: 0 while no handles are kept. */
ZOR_API unsigned char ZOR_multiframe_used(void);

/* The frame that scan calls are about. frame is an int32_t * for ZOR_get_frame to fill in, and the
 * number itself for ZOR_set_frame. */
ZOR_API int ZOR_get_frame(ZOR_IMAGE *image, ZOR_WORD frame);
ZOR_API int ZOR_set_frame(ZOR_IMAGE *image, ZOR_WORD frame);

ZOR_API int ZOR_playback_bind(ZOR_IMAGE *image, ZOR_WORD a, ZOR_WORD b);
ZOR_API int ZOR_playback_goto(ZOR_IMAGE *image, ZOR_WORD frame);
ZOR_API int ZOR_playback_play(ZOR_IMAGE *image, ZOR_WORD a, ZOR_WORD b, ZOR_WORD c, ZOR_WORD d,
                              ZOR_WORD e);
ZOR_API int ZOR_playback_params(ZOR_IMAGE *image, ZOR_WORD a, ZOR_WORD b, ZOR_WORD c, ZOR_WORD d,
                                ZOR_WORD e, ZOR_WORD f, ZOR_WORD g, ZOR_WORD h);
ZOR_API int ZOR_playback_stop(ZOR_IMAGE *image, ZOR_WORD a);

/* Formats -----------------------------------------------------------------------------------------
 *
 * The queries share one cursor in the registry: ZOR_find and the probes leave it after the entry
 * they found, which moves a ZOR_info loop that is under way. Each of them starts the library,
 * without modules, when nothing else has.
 */

/* The format with that key, or with that extension (dot included); exact, case included. Null when
 * there is none. */
ZOR_API const ZOR_FORMAT *ZOR_find(const char *text);

/* The next format that came from a module, null after the last. ZOR_init rewinds. */
ZOR_API const ZOR_FORMAT *ZOR_info(void);

/* Finds out which format a file is of.
 *   name, stream  handed to the formats' tests: the file's name and an open stream (a FILE *), of
 *                 which either may be null
 *   tried         receives 0 when some format had no test, so that "none" is not certain; else 1
 * ZOR_get_file_type returns the key of the first format that recognises the file, "__none_" when
 * all formats have looked and none does, and null when some could not look. ZOR_is_file_type tests
 * for one key and returns it, or null; with a null key it is ZOR_get_file_type. */
ZOR_API const char *ZOR_get_file_type(void *name, void *stream, unsigned char *tried);
ZOR_API const char *ZOR_is_file_type(void *name, void *stream, const char *key,
                                     unsigned char *tried);

/* The display name of a format; the key itself when it is unknown (reported) or has no name. */
ZOR_API const char *ZOR_name_from_key(const char *key);

/* The format and the base name of files for which nothing else says: "mox" and "im" unless the
 * configuration file says otherwise. */
ZOR_API const char *ZOR_def_key(void);
ZOR_API const char *ZOR_def_base_name(void);

/* A format's capability descriptors.
 *   key     the format; null: the one given as a description
 *   list    receives the descriptors, first and second the driver's two numbers, and count the
 *           number of descriptors; all 0 for a format without capabilities or a null format, all
 *           left alone for an unknown key (reported) */
ZOR_API void ZOR_info_get_specific(const char *key, const ZOR_FORMAT *format, ZOR_CAPABILITY **list,
                                   int32_t *first, int32_t *second, int32_t *count);

/* The largest of those two numbers over all formats. Returns the second. */
ZOR_API int32_t ZOR_info_num_specific(int32_t *first, int32_t *second);

/* Capabilities ------------------------------------------------------------------------------------
 *
 * What a format offers beyond the common interface: a compression, a quality. ZOR_info_get_specific
 * tells what there is; an application chooses with a settings list, a null-terminated array of
 * pointers in the open request:
 *
 *     ZOR_CAP_SETTING compression = {0, 0, {.number = 2}};
 *     ZOR_CAP_SETTING *settings[] = {&compression, NULL};
 *     info->cap_settings = settings;
 *
 * The list stays the application's and must live as long as the image is open.
 */

/* count settings in one block, each with code 65535 and value 0; free them with ERR_free. Null when
 * memory ran out (ZOR_MSG_NO_MEMORY) or, with ZOR_E_ARGUMENT, for a negative count. */
ZOR_API ZOR_CAP_SETTING *ZOR_cap_setting_alloc(int32_t count);

/* A new list with new settings, each a block of its own: free every element, then the list, with
 * ERR_free. Null for a null or empty list, and when memory ran out (ZOR_MSG_NO_MEMORY); when it ran
 * out for a setting, what was copied so far. */
ZOR_API ZOR_CAP_SETTING **ZOR_cap_setting_copy(ZOR_CAP_SETTING *const *list);

/* Whether every setting of a has its like in b; a null list is like an empty one. b is searched
 * forward only, so both must hold their common codes in the same order. The code also selects how
 * values compare: 0 as integers, 1 as floats; any other is reported (ZOR_MSG_UNKNOWN_CAPABILITY)
 * and unlike everything. Returns 1 or 0. */
ZOR_API unsigned char ZOR_cap_setting_compare(ZOR_CAP_SETTING *const *a, ZOR_CAP_SETTING *const *b);

/* Has a format bring the availability of its capabilities up to date; x and y are between
 * application and driver. Returns the driver's answer, 0 for a null format or one that has no
 * such function. */
ZOR_API unsigned char ZOR_capabilities_available(const ZOR_FORMAT *format, ZOR_WORD x, ZOR_WORD y);

/* For drivers: marks a capability as available (non-zero) or not. Returns 1 when that changed
 * something. */
ZOR_API unsigned char ZOR_set_available(ZOR_CAPABILITY *capability, unsigned char available);

/* File names --------------------------------------------------------------------------------------
 *
 * A name syntax is a pattern of a file name: the words "name" and "ext" for the base name and the
 * extension, a run of '#' for the frame number, and punctuation other than '/' that is copied as it
 * stands, as in "name.####.ext". Case does not count. It needs "name" or a '#', and takes one run
 * of '#' and one "ext" at most. Nothing here reports; failures leave ZOR_E_SYNTAX,
 * ZOR_E_EMPTY_SYNTAX or ZOR_E_MEMORY in zor__err. One thread at a time.
 */

/* Whether the syntax is valid; sets zor__err, to 0 for a valid one. */
ZOR_API int ZOR_name_syntax_verify(const char *syntax);

/* Whether a valid syntax has an extension; sets zor__err like ZOR_name_syntax_verify, except that
 * null leaves it alone. */
ZOR_API int ZOR_name_syntax_has_ext(const char *syntax);

/* Whether the text ends with "ext", or has a '#'; validity does not matter. */
ZOR_API int ZOR_name_syntax_ends_ext(const char *syntax);
ZOR_API int ZOR_name_syntax_has_frame(const char *syntax);

/* The word for the base name: "name". */
ZOR_API const char *ZOR_name_syntax_name(void);

/* Parses a syntax.
 *   elements  receives a new array with one record for each element and an end record, or null on
 *             failure; release it with ERR_free
 *   index     0; a larger number leaves so many cleared records in front
 * Returns 1, leaving zor__err alone; 0 for an invalid syntax, null and empty ones included
 * (ZOR_E_SYNTAX), or when memory ran out. */
ZOR_API int ZOR_parse_name_syntax(const char *syntax, ZOR_NAME_ELEMENT **elements, int32_t index);

/* Build path names; the results are new strings, released with ERR_free, or null with zor__err set
 * (an empty base: ZOR_E_OPEN).
 *   directory  put in front with a '/' unless null or empty, or the base is absolute: it begins
 *              with a '/' or a host prefix, or, on Windows, with a drive letter or a backslash
 *   base       the base name
 *   frame      padded with zeros to the number of '#', or to four digits where no syntax says;
 *              grows past that; negative: none, and what separates it in the syntax goes too
 *   extension  with its dot, which is left out where a syntax has one of its own; null or empty:
 *              none
 *   syntax     null or empty in ZOR_pathname_build: base, '.', frame, extension; without a frame
 *              base and extension
 * A syntax's other punctuation stays even when the extension is empty.
 * ZOR_pathname_build_no_name_syntax leaves the extension off when the base ends with it already;
 * the others do not look. */
ZOR_API char *ZOR_pathname_build(const char *directory, const char *base, int32_t frame,
                                 const char *extension, const char *syntax);
ZOR_API char *ZOR_pathname_build_from_name_syntax(const char *syntax, const char *directory,
                                                  const char *base, int32_t frame,
                                                  const char *extension);
ZOR_API char *ZOR_pathname_build_no_name_syntax(const char *directory, const char *base,
                                                const char *extension);

#ifdef __cplusplus
}
#endif
#endif
