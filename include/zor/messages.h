/* messages.h - every message the library reports, written once.
 *
 * Each macro expands to the set, number, severity and text that ERR_report_cat takes, so that
 *
 *     ERR_report_cat(zor__msg_cat, ZOR_MSG_CANNOT_OPEN, path, strerror(errno));
 *
 * is a whole report whose arguments the compiler checks. Set 902 belongs to the image library and
 * its drivers, set 903 to the configuration databases. Drivers report with these messages too, so
 * that one failure reads the same whatever the format.
 */
#ifndef ZOR_MESSAGES_H
#define ZOR_MESSAGES_H

#include <stdint.h>

#include "err.h"

#ifdef __cplusplus
extern "C" {
#endif

/* clang-format off */

/* Start-up and registry */
#define ZOR_MSG_ON_DEMAND_START    902,  30, ERR_DEBUG, "%s, initializing database for %s request"
#define ZOR_MSG_MUST_BE_DEFINED    902, 121, ERR_ERROR, "%s: %s must be defined"
#define ZOR_MSG_WRONG_VERSION      902, 196, ERR_ERROR, \
    "%s: the version protocol of this plug-in (\"%s\") is not supported; " \
    "expecting version \"%s\" but found \"%s\""
#define ZOR_MSG_UNKNOWN_KEY        902, 902, ERR_ERROR, \
    "Unknown file type key (\"%s\") was specified; Ensure that the plug-in for this type is defined"
#define ZOR_MSG_NO_MEMORY          902,  94, ERR_ERROR, "No more internal memory"

/* Opening */
#define ZOR_MSG_BAD_FILE_NAME      902,  35, ERR_ERROR, "Filename \"%s\" contains invalid characters"
#define ZOR_MSG_BAD_MODE           902,  44, ERR_ERROR, \
    "File open mode (\"%s\") not recognized; expecting \"r\" or \"w\""
#define ZOR_MSG_INVALID_TYPE       902,  51, ERR_ERROR, \
    "Invalid type %s (either the output file format type or the channel type stored in the file " \
    "is incorrect)"
#define ZOR_MSG_CANNOT_OPEN        902,  52, ERR_ERROR, "Cannot open file %s; %s"
#define ZOR_MSG_CANNOT_HANDLE      902,  87, ERR_ERROR, "%s cannot handle the requested action"
#define ZOR_MSG_FIELD_MISSING      902,  88, ERR_ERROR, "Required field, %s, uninitialized"
#define ZOR_MSG_NOT_THIS_TYPE      902, 167, ERR_ERROR, \
    "%s: This does not appear to be a Trevolind file"

/* What a format cannot store */
#define ZOR_MSG_MULTIPLE_IMAGES    902,  61, ERR_ERROR, "%s cannot store multiple images"
#define ZOR_MSG_AUX_TYPE           902,  70, ERR_ERROR, "%s cannot handle auxiliary channel type"
#define ZOR_MSG_AUX_WIDTH          902,  71, ERR_ERROR, "%s cannot handle auxiliary channel width"
#define ZOR_MSG_IMAGE_TYPE         902,  72, ERR_ERROR, "%s cannot handle image channel type"
#define ZOR_MSG_IMAGE_WIDTH        902,  73, ERR_ERROR, "%s cannot handle image channel width"
#define ZOR_MSG_MATTE_TYPE         902,  79, ERR_ERROR, "%s cannot handle matte channel type"
#define ZOR_MSG_MATTE_WIDTH        902,  80, ERR_ERROR, "%s cannot handle matte channel width"

/* Scanlines */
#define ZOR_MSG_BAD_SCANLINE       902,  53, ERR_ERROR, \
    "Bad scanline: %d (out of range, or not in sequence if a sequential file)"
#define ZOR_MSG_CANNOT_READ        902,  55, ERR_ERROR, "Cannot read scanline %d; %s"
#define ZOR_MSG_CANNOT_WRITE       902,  56, ERR_ERROR, "Cannot write to %s; %s"
#define ZOR_MSG_CANNOT_WRITE_LINE  902,  57, ERR_ERROR, "Cannot write scanline %d; %s"
#define ZOR_MSG_CANNOT_DECODE      902,  59, ERR_ERROR, "Cannot decode scanline %d"
#define ZOR_MSG_NO_RASTER          902, 250, ERR_WARNING, \
    "%s: cannot read whole rasters from this %s file " \
    "(this function is unsupported for this file type)"

/* Capabilities */
#define ZOR_MSG_UNKNOWN_CAPABILITY 902,  92, ERR_WARNING, \
    "Unknown type-specific capability code (%d) specified when trying to open image file"
#define ZOR_MSG_NO_CAPABILITY_NAME 902, 194, ERR_WARNING, \
    "%s: no name field was found for capability %d of this image driver"
#define ZOR_MSG_NO_ENTRY_NAME      902, 195, ERR_WARNING, \
    "%s: no name field was found for capability %d's list entry number %d of this image driver"

/* Frames and playback. Asking for the frame shares the message for setting it, and the one for
 * playback's frame lacks the semicolon: so they have always read. */
#define ZOR_MSG_NO_SET_FRAME       902, 192, ERR_WARNING, \
    "%s: cannot set the current frame for this %s file; " \
    "(it is not a multiframe file, or this function is unsupported for this file type)"
#define ZOR_MSG_NO_BIND            902, 204, ERR_ERROR, \
    "%s: cannot bind the playback window for this %s file; " \
    "(it is not a multiframe file, or this function is unsupported for this file type)"
#define ZOR_MSG_NO_GOTO            902, 206, ERR_WARNING, \
    "%s: cannot set the playback frame for this %s file " \
    "(it is not a multiframe file, or this function is unsupported for this file type)"
#define ZOR_MSG_NO_PARAMS          902, 166, ERR_WARNING, \
    "%s: cannot set the playback parameters for this %s file; " \
    "(it is not a multiframe file, or this function is unsupported for this file type)"
#define ZOR_MSG_NO_PLAY            902, 207, ERR_WARNING, \
    "%s: cannot start playback for this %s file; " \
    "(it is not a multiframe file, or this function is unsupported for this file type)"
#define ZOR_MSG_NO_STOP            902, 208, ERR_WARNING, \
    "%s: cannot stop playback for this %s file; " \
    "(it is not a multiframe file, or this function is unsupported for this file type)"

/* Operators */
#define ZOR_MSG_CHANNEL_FORMAT     902,  49, ERR_ERROR, "Invalid channel format %s"
#define ZOR_MSG_AUXILIARIES        902,  69, ERR_ERROR, \
    "%s cannot handle multiple auxiliary channels"
#define ZOR_MSG_MATTES             902,  78, ERR_ERROR, "%s cannot handle multiple matte channels"
#define ZOR_MSG_NO_AUX             902,  81, ERR_ERROR, \
    "The image has no auxiliary channel information"
#define ZOR_MSG_NO_MATTE           902,  82, ERR_ERROR, "The image has no matte channel information"
#define ZOR_MSG_PRECISION          902,  83, ERR_WARNING, \
    "Color response curve reduced to %d bits of precision (limit is 14 bits)"
#define ZOR_MSG_LOCKED             902,  84, ERR_WARNING, \
    "Cannot access sub image (attempted to access a locked sub image)"

/* Response curves */
#define ZOR_MSG_CURVE_CHANNELS     902,  45, ERR_ERROR, \
    "Incompatible response curve channel counts " \
    "(channel counts must be the same for composited response curves)"
#define ZOR_MSG_CURVE_FLOAT        902,  46, ERR_ERROR, \
    "Incompatible response curve channel type " \
    "(channel must be of type ZOR_C_INTEGER for composited response curve)"
#define ZOR_MSG_CURVE_ELEMENTS     902,  47, ERR_ERROR, \
    "Incompatible response curve channel element counts"
#define ZOR_MSG_CURVE_TYPE         902, 210, ERR_ERROR, \
    "Invalid curve type %d found: must be of type ZOR_C_INTEGER or ZOR_C_FLOAT"
#define ZOR_MSG_CURVE_DEPTH        902, 211, ERR_ERROR, \
    "Invalid curve depth %d found: must be in the range %d to %d"

/* Configuration databases */
#define FMT_MSG_SYNTAX             903,   2, ERR_ERROR, \
    "%s: Invalid configuration file syntax, line %d"
#define FMT_MSG_ON_DEMAND_START    903,   6, ERR_DEBUG, "%s, initializing database for %s request"
#define FMT_MSG_NO_MEMORY          903,   7, ERR_ERROR, "No more internal memory"

/* Colour database */
#define CLR_MSG_NOT_A_NUMBER       903,   1, ERR_ERROR, \
    "Invalid configuration file syntax, line %d; expecting a number"
#define CLR_MSG_MATCHING_FUNCTION  903,   3, ERR_ERROR, \
    "Invalid matching function (check the configuration file color matching function)"
#define CLR_MSG_RANGE              903,   4, ERR_ERROR, \
    "Invalid wavelength sampling range, (%f, %f); (check the configuration file)"
#define CLR_MSG_RESOLUTION         903,   5, ERR_ERROR, \
    "Invalid table resolution (%d); (check the configuration file)"

/* clang-format on */

/* Reports a message, sets zor__err and returns the status, so that a failure is one statement:
 *
 *     return zor__fail(ZOR_E_SCANLINE, ZOR_MSG_BAD_SCANLINE, y);
 *
 * The status is set even when the report is masked. */
ZOR_API int32_t zor__fail(int32_t status, int set, int number, int severity, const char *format,
                          ...) ZOR_PRINTF(5, 6);

#ifdef __cplusplus
}
#endif
#endif
