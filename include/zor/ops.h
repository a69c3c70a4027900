/* ops.h - operators: what may be done to scanlines on their way.
 *
 * An operator is pushed onto an open image and from then on sees every scanline: on a handle that
 * reads it changes what the layer below delivers, on one that writes it changes what the caller
 * hands in. The description (ZOR_image_desc) changes with it, so that to the caller the image is
 * one of the new kind from the start:
 *
 *     ZOR_RESPONSE_CURVE screen = {1, 2.2f, 0, 0, 0, 0, 0, NULL};    // a power function
 *     const ZOR_TARGET bytes = {ZOR_C_INTEGER, 8};
 *     const ZOR_TARGET *const colours[3] = {&bytes, NULL, NULL};
 *     ZOR_IMAGE *image = ZOR_open(info, "r");                        // floats, say
 *     ZOR__resize(image, 960, 540, ZOR_FILTER_MITCHELL);
 *     ZOR__quantize(image, colours, &screen);
 *     // from here on: 960 x 540, three bytes a pixel, ready for the screen
 *     ...
 *     ZOR_close(image);                                              // takes the operators away
 *
 * Rules that hold for all of them:
 *   - A push returns the handle, always the one it was given. It has pushed nothing when there is
 *     nothing to do, and after a failure that it reported: its undo then returns 0. A null handle
 *     gives null.
 *   - An undo takes away the operator on top: 1 when it did, 0 when something else is on top, which
 *     then stays. Descriptions get back what they had. ZOR_close takes away whatever is left, from
 *     the top down; but a handle of a file with several frames stays open for a while (zor.h), so
 *     undo its operators before.
 *   - Operators work on the first image of a file, and on the three groups of channels in the order
 *     of the description: colour, matte, auxiliary. Arguments that go by group are arrays of three.
 *   - Most convert in place: rows are scratch, the caller's own when writing.
 *   - Some work on the active window only; samples outside it are not part of the picture.
 *   - "No more internal memory" leaves ZOR_E_MEMORY in zor__err and nothing pushed. Arguments that
 *     make no sense are refused with ZOR_MSG_CANNOT_HANDLE and ZOR_E_UNSUPPORTED, except where it
 *     is stated that nothing is pushed.
 *   - A handle whose driver gave it no scan or close function is refused likewise.
 *   - Scanlines are all that operators see. While any is there, a selection included, rasters,
 *     regions and direct scans are refused, and so is going to another frame, whose description
 *     might be another: undo, set the frame, push again.
 *   - Where channels share a row (chan_flag 0), clip, change_width, min_max and scale work; the
 *     others refuse it or push nothing.
 *
 * docs/operators.md tells which operator does what to a description, and how stacks are built.
 *
 * Threads: push and undo from the thread that owns the handle, between scan calls. Different images
 * may be used by different threads.
 */
#ifndef ZOR_OPS_H
#define ZOR_OPS_H

#include <stdint.h>

#include "curve.h"
#include "export.h"
#include "records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Display -------------------------------------------------------------------------------------- */

/* What a display wants. */
enum {
    ZOR_DISPLAY_RED = 1, /* colour, corrected to the wanted curve and primaries; any of the three */
    ZOR_DISPLAY_GREEN = 2, /* asks for all colour channels */
    ZOR_DISPLAY_BLUE = 4,
    ZOR_DISPLAY_COLOR = 7,
    ZOR_DISPLAY_MATTE = 8,      /* the matte */
    ZOR_DISPLAY_LUMINANCE = 16, /* one channel of luminance in place of colours. Without the bits of
                                   colour it is as bright as the wanted curve says; with them it
                                   should not be combined: the correction would run twice */
    ZOR_DISPLAY_AUX = 32        /* the auxiliary channel, where floats from 1 to 10000 span the
                                   range from black to white */
};

/* Makes what is wanted 8-bit integers: clips float colours to the matte, maps the auxiliary channel
 * to its range, quantizes floats, narrows wider integers, then corrects colours to the wanted
 * primaries and curve. The description's gamma stays what it was.
 *
 * Light has few of its 256 steps in the dark, where a display shows many: colours that are light
 * had better be encoded before, by ZOR__cast and ZOR__quantize with the display's curve. And a cast
 * makes floats, which a display clips to the matte: where bytes were not multiplied by theirs,
 * quantize first for that reason too.
 *   flags      ZOR_DISPLAY_...; groups not asked for stay as they are, but for the clip, which
 *              float colours with a matte get whatever was asked for
 *   primaries  18 floats of which the last twelve are chromaticities (x, y, z; z is not used) of
 *              red, green, blue and white; or null: "rgb" stays in those of the image, and "xyz"
 *              goes to those of the colour defaults
 *   curve      the display's response curve; null: a power function of FMT_def_gamma
 * Refused are images without the one matte (ZOR_MSG_NO_MATTE, ZOR_MSG_MATTES) or auxiliary channel
 * (ZOR_MSG_NO_AUX, ZOR_MSG_AUXILIARIES) that was asked for. A channel format that is none of the
 * four (ZOR_MSG_CHANNEL_FORMAT; ZOR_E_CHANNELS when luminance was wanted) or unusable primaries
 * leave the operators in place that were pushed by then; close the image or undo them one by one. */
ZOR_API ZOR_IMAGE *ZOR__display(ZOR_IMAGE *image, unsigned char flags, const float *primaries,
                                const ZOR_RESPONSE_CURVE *curve);
ZOR_API int ZOR__display_undo(ZOR_IMAGE *image);

/* Sub-images ----------------------------------------------------------------------------------- */

/* Makes one sub-image the only one, at index 0; the others cannot be reached until it is undone. An
 * index the file does not have changes nothing, as does a file with one image. Select first: other
 * operators are about the first image, and with any of them there another index is refused. */
ZOR_API ZOR_IMAGE *ZOR__select(ZOR_IMAGE *image, int32_t index);
ZOR_API int ZOR__select_undo(ZOR_IMAGE *image);

/* Types and ranges of samples ------------------------------------------------------------------ */

/* Wanted type and width of a group. */
typedef struct ZOR_TARGET {
    int32_t type; /* ZOR_C_INTEGER */
    int32_t bits; /* 1 to 32 */
} ZOR_TARGET;

/* A range of sample values. */
typedef struct ZOR_RANGE {
    float low, high; /* low < high */
} ZOR_RANGE;

/* Reading: all groups become 32-bit floats, integers being divided by their largest value. 8-bit
 * colours whose gamma is not 1 become light on the way; those of other widths keep their values,
 * while the description's gamma becomes 1 all the same. When memory runs out for the rows the
 * description stays changed with nothing pushed: close the image. Channels that share a row are
 * refused, as are types and widths that there are not. */
ZOR_API ZOR_IMAGE *ZOR__cast(ZOR_IMAGE *image);
ZOR_API int ZOR__cast_undo(ZOR_IMAGE *image);

/* Float and double groups become integers of the wanted width: v is clamped to [0, 1] and rounded
 * to v * (2^bits - 1); NaN gives 0. The channels must be planar. When writing, the caller hands in
 * the integers, and the layer below gets v.
 *   targets  for each group the wanted integers, or null: as it is. Integer groups stay as they are
 *   encode   null; or, reading, a power function: colours are light, or of the gamma that the
 *            description states, and are encoded to this gamma before they are rounded, which the
 *            description then states. That is right to a hundredth of a 16-bit step. With
 *            num_elements 256 the light is taken to come from bytes of this gamma by way of
 *            ZOR_gamma_btof, as it does from a cast: the line near black that its table has is
 *            taken out again, so that the bytes come back */
ZOR_API ZOR_IMAGE *ZOR__quantize(ZOR_IMAGE *image, const ZOR_TARGET *const targets[3],
                                 const ZOR_RESPONSE_CURVE *encode);
ZOR_API int ZOR__quantize_undo(ZOR_IMAGE *image);

/* Reading: integers change their width by a shift, to one held in as many bytes or in fewer. Shifts
 * to the left leave zeros behind. Float groups and null targets stay as they are; when a group
 * cannot take its target nothing is pushed. With any target the operator is there, even if all
 * groups have their width already.
 *   targets  for each group the wanted integers, or null */
ZOR_API ZOR_IMAGE *ZOR__change_width(ZOR_IMAGE *image, const ZOR_TARGET *const targets[3]);
ZOR_API int ZOR__change_width_undo(ZOR_IMAGE *image);

/* Groups of 32-bit floats are mapped from their range to [0, 1], and clamped to it, in the active
 * window and the line above it. Channels must be planar, and every group that has a range must be
 * of that type; otherwise nothing is pushed.
 *   ranges  for each group its range, or null: as it is */
ZOR_API ZOR_IMAGE *ZOR__remap(ZOR_IMAGE *image, const ZOR_RANGE *const ranges[3]);
ZOR_API int ZOR__remap_undo(ZOR_IMAGE *image);

/* As ZOR__remap for groups of any type, to the full range of an integer, and without a clamp for
 * floats: values stretch so that low becomes 0 and high becomes 1, or the integer's largest value.
 * Ranges are fractions of an integer's full range. Writing does the same to what is written.
 *   ranges  for each group its range, or null: as it is. An empty range, or one that is not finite,
 *           is refused */
ZOR_API ZOR_IMAGE *ZOR__min_max(ZOR_IMAGE *image, const ZOR_RANGE *const ranges[3]);
ZOR_API int ZOR__min_max_undo(ZOR_IMAGE *image);

/* Multiplies samples; integers are rounded, and clamped to their range.
 *   factors  for each group; 1 leaves it as it is. One that is not finite is refused */
ZOR_API ZOR_IMAGE *ZOR__scale(ZOR_IMAGE *image, const float factors[3]);
ZOR_API int ZOR__scale_undo(ZOR_IMAGE *image);

/* Colour --------------------------------------------------------------------------------------- */

/* Float and double colours are brought into [0, matte] of their pixel, in the active window: "rgb"
 * of three channels by moving them toward their mean, others by clamping each component. Without a
 * matte of the same type nothing is pushed. */
ZOR_API ZOR_IMAGE *ZOR__clip(ZOR_IMAGE *image);
ZOR_API int ZOR__clip_undo(ZOR_IMAGE *image);

/* The operators below correct 8-bit colours. They share a check: a handle without an image is
 * refused with ZOR_MSG_MULTIPLE_IMAGES, colours wider than 8 bits with ZOR_MSG_IMAGE_WIDTH, both
 * ZOR_E_UNSUPPORTED. Float colours, silently, push nothing: quantize them first. Nor does a curve
 * whose tables do not fit.
 *   curve  the wanted response curve, not null
 */

/* Between the image's response curve and another one.
 *
 * Reading: bytes of the image's curve become bytes of the other. The description's gamma stays what
 * it was.
 *
 * Writing: the caller hands in samples of the other curve from 0 to N - 1 (see curve.h), of as many
 * bits as that takes, 12 and so 16-bit words for the usual 4096; they become bytes of the image's,
 * the one that the file will state. So the other curve is a power function of gamma 1 to hand in
 * light:
 *
 *     desc->curve.gamma = 2.2f;                                      // in the request
 *     ZOR_IMAGE *image = ZOR_open(info, "w");
 *     const ZOR_RESPONSE_CURVE light = {1, 1.0f, 0, 0, 0, 0, 0, NULL};
 *     ZOR__gamma(image, &light);
 *     if (ZOR_image_desc(image, 0)->image.bits == 12)            // pushed: hand in 16-bit words
 *         ZOR_scan_write(image, y, rows);
 *
 * Equal gammas push nothing, and then it is bytes that are to be handed in. The caller's rows are
 * used up by the conversion. */
ZOR_API ZOR_IMAGE *ZOR__gamma(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve);
ZOR_API int ZOR__gamma_undo(ZOR_IMAGE *image);

/* Reading three channels: "rgb" from the image's primaries to those of the colour matrices (below),
 * or "xyz" to rgb of those primaries. The description does not tell of it. */
ZOR_API ZOR_IMAGE *ZOR__rgb_transform(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve);
ZOR_API int ZOR__rgb_transform_undo(ZOR_IMAGE *image);
ZOR_API ZOR_IMAGE *ZOR__xyz_transform(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve);
ZOR_API int ZOR__xyz_transform_undo(ZOR_IMAGE *image);

/* Reading three channels: one of luminance. That of "rgb" is weighted by the image's primaries, for
 * which the colour matrices are set; its row comes first, mattes and auxiliaries follow. That of
 * "xyz" is not to be had: it ends with ZOR_E_MEMORY and nothing pushed, as it always has. */
ZOR_API ZOR_IMAGE *ZOR__rgb_luminance(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve);
ZOR_API int ZOR__rgb_luminance_undo(ZOR_IMAGE *image);
ZOR_API ZOR_IMAGE *ZOR__xyz_luminance(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve);
ZOR_API int ZOR__xyz_luminance_undo(ZOR_IMAGE *image);

/* Reading colours that are spectral samples, with the channel format "sampled": the sample space
 * with as many bins as there are colour channels (CLR_find) gives their X, Y, Z, scaled so that
 * samples of 1 are the image's white point.
 *   ZOR__samples_to_display    three 8-bit channels of rgb of the colour matrices, chan_format
 *                              "rgb". Also of "raw", which it keeps: each channel corrected to the
 *                              curve, one channel copied to three, two with a black third one, more
 *                              than three cut down to the first three
 *   ZOR__samples_to_luminance  one 8-bit channel, Y; chan_format "rgb"
 *   ZOR__samples_to_rgb        three floats, light in the image's primaries; chan_format "rgb"
 *   ZOR__samples_to_xyz        three floats, light; chan_format "xyz"
 * Colours of any type are taken: integers of up to 8 bits through the image's response curve,
 * others through its gamma if it is a power function. Bytes are the nearest to the wanted curve,
 * a power function with a positive gamma, whose gamma the description then states, or tables of
 * bytes; NaN gives 0. Nothing is pushed on channels that are not planar, on other formats, for
 * curves that do not fit, and where there is no space for that many channels or the primaries
 * are unusable. */
ZOR_API ZOR_IMAGE *ZOR__samples_to_display(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve);
ZOR_API int ZOR__samples_to_display_undo(ZOR_IMAGE *image);
ZOR_API ZOR_IMAGE *ZOR__samples_to_luminance(ZOR_IMAGE *image, const ZOR_RESPONSE_CURVE *curve);
ZOR_API int ZOR__samples_to_luminance_undo(ZOR_IMAGE *image);
ZOR_API ZOR_IMAGE *ZOR__samples_to_rgb(ZOR_IMAGE *image);
ZOR_API int ZOR__samples_to_rgb_undo(ZOR_IMAGE *image);
ZOR_API ZOR_IMAGE *ZOR__samples_to_xyz(ZOR_IMAGE *image);
ZOR_API int ZOR__samples_to_xyz_undo(ZOR_IMAGE *image);

/* Colour matrices ---------------------------------------------------------------------------------
 *
 * The process has two 3 x 3 matrices between rgb of one set of primaries and X, Y, Z, in which
 * white has Y = 1. They are for rows: out[k] = in[0] m[k] + in[1] m[3 + k] + in[2] m[6 + k], so
 * that to_xyz[1], [4], [7] are the luminances of red, green and blue. Operators read them when
 * they are pushed. They may be set and read by several threads; ZOR__display goes by those that it
 * sets, whatever other threads do meanwhile.
 */

/* Sets both matrices.
 *   num_channels  colour channels of the image they are for; any number will do
 *   primaries     twelve floats as in ZOR_INFO (z is not used), or null: the colour defaults
 * Returns 0; -1 when the primaries span no plane or white has y = 0, the matrices being left as
 * they were. */
ZOR_API int ZOR_color_matrix_set(int32_t num_channels, const float *primaries);

/* Makes both the identity, as they are at first. Returns 1. */
ZOR_API int ZOR_color_matrix_reset(void);

/* Copies them, nine floats each; null is skipped. */
ZOR_API void ZOR_color_matrix_get(float *to_xyz, float *from_xyz);

/* Shape ---------------------------------------------------------------------------------------- */

/* Filters of ZOR__resize, from soft and fast to sharp. */
enum {
    ZOR_FILTER_BOX = 0,      /* the mean of what a new pixel covers; nearest when enlarging */
    ZOR_FILTER_TRIANGLE = 1, /* linear */
    ZOR_FILTER_CATMULL_ROM = 2,
    ZOR_FILTER_MITCHELL = 3, /* for general use */
    ZOR_FILTER_LANCZOS_3 = 4 /* sharpest; rings at hard edges */
};

/* Reading: resamples the image to another size, after a ZOR__cast, so that all channels become
 * 32-bit floats, and those of 8-bit pictures light. Windows start at (0, 0); the active window
 * takes in all that the old one has a part in, and the picture's size changes with its window's.
 * Edges are continued beyond the window. Rows are read in file order, each of them once, as long as
 * the caller reads in file order, and again otherwise; only those under the filter are held.
 *   width, height  1 to 2^24
 *   filter         ZOR_FILTER_...
 * Sizes and filters there are not are refused, as are channels that are not planar. */
ZOR_API ZOR_IMAGE *ZOR__resize(ZOR_IMAGE *image, int32_t width, int32_t height, int32_t filter);
ZOR_API int ZOR__resize_undo(ZOR_IMAGE *image);

/* Reading: merges two fields into a frame of twice the height, whose windows reach from twice the
 * fields' bottom line up. Lines are counted from the top, from 0; the even field has lines 0, 2,
 * 4...
 *   image  the field that is shown first: the even one when FMT_def_dominance is 0, else the odd
 *   other  the field shown second: a handle of its own, open for reading, with windows, channels,
 *          curve and orientation like those of image. It stays the caller's, who leaves it alone
 *          and open until the merge is undone or image closed
 * Fields that differ are refused. */
ZOR_API ZOR_IMAGE *ZOR__merge_fields(ZOR_IMAGE *image, ZOR_IMAGE *other);
ZOR_API int ZOR__merge_fields_undo(ZOR_IMAGE *image);

#ifdef __cplusplus
}
#endif
#endif
