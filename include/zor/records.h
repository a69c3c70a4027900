/* records.h - the records that applications, driver modules and the library share.
 *
 * Conventions:
 *   - the layouts are fixed: a 32-bit build has exactly the sizes given beside each record, and a
 *     64-bit build widens pointers and nothing else;
 *   - texts marked "owned" are freed together with their record and must come from STR_save or
 *     ERR_malloc; null means "not given";
 *   - windows are inclusive on all sides; rows count upward, so bottom <= top;
 *   - fields named reserved start at 0 and are carried along unread.
 */
#ifndef ZOR_RECORDS_H
#define ZOR_RECORDS_H

#include <stdint.h>

#include "export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A word that is handed through to a driver unread: a number or a pointer. */
typedef intptr_t ZOR_WORD;

/* Sample types of a channel group. */
enum {
    ZOR_C_INTEGER = 1, /* unsigned, 1 to 32 bits, held in 1, 2 or 4 bytes: up to 8, 16, 32 bits */
    ZOR_C_FLOAT = 2,   /* 32-bit float */
    ZOR_C_DOUBLE = 3   /* 64-bit float */
};

/* Access bits of a format. */
enum {
    ZOR_ACCESS_READ = 4,
    ZOR_ACCESS_WRITE = 8,
    ZOR_ACCESS_RANDOM_READ = 16, /* scanlines may be read in any order */
    ZOR_ACCESS_RANDOM_WRITE = 32
};

/* Usage bits of a format. */
enum {
    ZOR_USAGE_STILL = 1,
    ZOR_USAGE_SUB_IMAGES = 2 /* one file may hold several sub-images */
};

/* Orientation bits of a format and of an image description. */
enum {
    ZOR_ORIENTATION_RISING =
        1 /* the file's scanlines come in rising order, else in falling order */
};

/* How the stored values of an image relate to light. 32 bytes. */
typedef struct ZOR_RESPONSE_CURVE {
    int32_t kind;         /* 1: a power function, 2: tables, 0: not given */
    float gamma;          /* exponent that takes stored values in [0, 1] to light; 1 is linear */
    int32_t reserved;     /* 0 */
    int32_t num_channels; /* tables, one for each channel */
    int32_t num_elements; /* entries of a table: 2 to the power of the input's bits */
    int32_t type;         /* of an entry: ZOR_C_INTEGER or ZOR_C_FLOAT */
    int32_t depth;        /* bits of an integer entry: 8 in bytes, 9 to 16 in 16-bit words */
    void **tables;        /* num_channels pointers into one block; null for kind 1 */
} ZOR_RESPONSE_CURVE;

/* The channels of one kind in an image. 12 bytes. */
typedef struct ZOR_CHANNELS {
    int32_t count;
    int32_t type; /* ZOR_C_... */
    int32_t bits; /* in a sample; 32 and 64 for the float types */
} ZOR_CHANNELS;

/* What there is to say about one image of a file. 156 bytes. Applications get one from
 * ZOR_info_add_image or ZOR_image_desc. */
typedef struct ZOR_IMAGE_DESC {
    int32_t size_code;        /* 0: ordinary samples; 8, 16: indices of a display table so wide */
    ZOR_RESPONSE_CURVE curve; /* kind 0 asks for the default gamma on writing. Its tables are not
                                 freed with an info record: they stay the application's */

    int32_t win_left, win_right, win_bottom, win_top; /* the whole picture */
    int32_t act_left, act_right, act_bottom, act_top; /* the stored part of it; samples elsewhere
                                                         are 0 */

    int32_t orientation; /* ZOR_ORIENTATION_... bits; on writing the driver's choice */
    int32_t chan_flag;   /* 1: a buffer for each channel; 0: channels interleaved in the first one.
                            All drivers here give 1 */
    char *chan_format;   /* owned; "rgb", "xyz", "sampled" or "raw"; default FMT_def_image_data */

    ZOR_CHANNELS image; /* colour channels */
    ZOR_CHANNELS matte; /* coverage */
    ZOR_CHANNELS aux;   /* anything else: depth, identifiers */

    char *aux_name;       /* owned; what the auxiliary channels hold */
    char *picture_format; /* owned; an entry of the format defaults; default FMT_def_aspect */
    char *ratio_text;     /* owned; the picture's aspect as a text, as read from a file */

    int32_t picture_width, picture_height; /* pixels; 0 on writing: those of the window */
    float picture_aspect; /* width to height as displayed; 0 or less on writing: the default */

    int32_t frame; /* frame number; -1: none */
    int32_t reserved[3];
} ZOR_IMAGE_DESC;

/* Rasters -------------------------------------------------------------------------------------- */

/* Where the samples of one channel lie in the caller's memory. 12 bytes. */
typedef struct ZOR_PLANE {
    void *samples;        /* that of the left column in the bottom line */
    ZOR_WORD column_step; /* bytes from a sample to the one on its right; 0: those of a sample */
    ZOR_WORD row_step;    /* bytes from a line to the one above; 0: right behind its last column */
} ZOR_PLANE;

/* Lines of an image that are moved in one call. 36 bytes. The caller's, cleared before it is filled
 * in. Steps may be negative; samples need not be aligned. */
typedef struct ZOR_RASTER {
    int32_t sub_image;                /* which image of the file */
    int32_t left, right, bottom, top; /* what is moved of its window */
    int32_t num_threads; /* that share the work; 1: the caller's alone; 0: one a processor */
    int32_t num_planes;  /* channels of the image */
    ZOR_PLANE *planes;   /* colour channels, then mattes, then auxiliaries */
    int32_t lines_done;  /* receives how many lines, from the bottom one up, have been moved */
} ZOR_RASTER;

/* Capabilities --------------------------------------------------------------------------------- */

/* An option chosen for a driver. 8 bytes on every build. */
typedef struct ZOR_CAP_SETTING {
    uint16_t code; /* which option */
    uint16_t padding;
    union {
        int32_t number;
        float real;
    } value;
} ZOR_CAP_SETTING;

/* One choice of a list. 20 bytes. A list ends with an entry whose name and set are both 0. */
typedef struct ZOR_CAP_ENTRY {
    uint16_t value;
    uint16_t padding;
    const char *name;
    int32_t name_set;
    int32_t name_number;
    const char *name_default;
} ZOR_CAP_ENTRY;

/* A list of choices. 12 bytes. */
typedef struct ZOR_CAP_LIST {
    uint16_t default_value; /* the value of one of the entries */
    uint16_t padding;
    int32_t num_entries; /* counted by the library at start-up */
    ZOR_CAP_ENTRY *entries;
} ZOR_CAP_LIST;

/* Flags of an option. */
enum { ZOR_CAP_UNAVAILABLE = 4 }; /* cannot be chosen at present */

/* An option a driver offers. 32 bytes; owned by the driver. */
typedef struct ZOR_CAPABILITY {
    int32_t code;
    const char *name; /* may be null when the triple below gives it */
    int32_t name_set; /* non-zero: the name is taken from name_default, if that is given */
    int32_t name_number;
    const char *name_default;
    uint8_t kind; /* 0: a choice from a list */
    uint8_t padding[3];
    ZOR_CAP_LIST *list;
    int32_t flags; /* ZOR_CAP_UNAVAILABLE */
} ZOR_CAPABILITY;

/* A driver's capability function: fills in its descriptors, two numbers of its own and the number
 * of descriptors. They are the same descriptors each time: ZOR_init completes names and counts the
 * entries of lists in place, and ZOR_exit gives the names back before it calls the done function.
 * ZOR_init ends the process when no entry of a list has its default value. */
typedef void (*ZOR_CAPABILITY_FUNCTION)(ZOR_CAPABILITY **list, int32_t *first, int32_t *second,
                                        int32_t *count);

typedef unsigned char (*ZOR_CAPS_AVAIL_FUNCTION)(ZOR_WORD x, ZOR_WORD y);

/* A driver's test whether a file is of its format.
 *   name    the file's name (a const char *), or null when there is only a stream
 *   stream  a FILE * open for reading binary data, or null to open the file by its name. The test
 *           rewinds it first and leaves its position undefined
 * Returns 1 for a file of the format, 0 for any other. */
typedef unsigned char (*ZOR_IS_FILE_FUNCTION)(void *name, void *stream);

/* Hooks of a driver's private user interface; the library hands them on. */
typedef void (*ZOR_UI_FUNCTION)(void);

/* Formats -------------------------------------------------------------------------------------- */

/* A registered format as the queries of zor.h return it. 112 bytes; owned by the library, valid
 * until ZOR_exit. */
typedef struct ZOR_FORMAT {
    const char *key;         /* short unique name, such as "mox" */
    const char *extension;   /* with its dot; may be empty */
    const char *name;        /* for display */
    const char *description; /* may be null */
    int32_t description_set; /* 0: the description is not in the message catalogue */
    int32_t description_number;
    const char *description_default;
    const char *file_name_format; /* printf format of base name, frame number and extension */
    const char *name_syntax;      /* such as "name.####.ext"; may be null */
    int32_t add_extension;        /* append the extension to names */
    int32_t usage;                /* ZOR_USAGE_... */
    int32_t orientation;          /* ZOR_ORIENTATION_... */
    int32_t bits_per_palette_entry;
    int32_t num_channels;               /* most colour channels */
    uint32_t bits_per_channel;          /* accepted integer widths: bit n - 1 for n bits */
    int32_t num_mattes;                 /* most matte channels */
    uint32_t bits_per_matte;            /* as bits_per_channel */
    int32_t num_z;                      /* most auxiliary channels */
    uint32_t bits_per_z;                /* as bits_per_channel */
    int32_t active_window;              /* an active window smaller than the window can be stored */
    int32_t access;                     /* ZOR_ACCESS_... */
    ZOR_CAPABILITY_FUNCTION capability; /* may be null, as all functions below */
    ZOR_CAPS_AVAIL_FUNCTION caps_avail_update;
    int32_t multi_frame; /* one file may hold several frames */
    uint8_t hard_link_duplicates;
    uint8_t remote_access;
    ZOR_IS_FILE_FUNCTION is_file;
    ZOR_UI_FUNCTION ui_popdown;
    ZOR_UI_FUNCTION ui_popup;
} ZOR_FORMAT;

/* The open request ----------------------------------------------------------------------------- */

/* What to open and how: filled by the application for ZOR_open. 192 bytes. Records come from
 * ZOR_info_alloc or ZOR_info_init, and end with ZOR_info_free or ZOR_info_cleanup. Reading needs
 * file_name only, and key when the name does not tell the format; all else serves writing. */
typedef struct ZOR_INFO {
    char *key;             /* owned; format key; null: chosen by the file name's extension */
    char *file_name;       /* owned; required */
    int32_t complete_path; /* non-zero: file_name is used as it stands, otherwise the extension may
                              be added and $QK_IMG_DIR put in front */

    /* Texts that travel with the image, all owned. Null on writing: "unknown", or as stated. */
    char *name;
    char *extension; /* wanted extension, with its dot; null: the format's */
    char *description;
    char *program;
    char *machine; /* null: the host's name */
    char *user;    /* null: the user's name */
    char *date;    /* null: "{seconds since 1970}" */
    char *time;    /* time taken to make the image */
    char *filter;
    char *compression;

    ZOR_CAP_SETTING **cap_settings; /* null-terminated; the application's: it must live as long as
                                       the image is open, and the library never frees it */
    ZOR_WORD app_word;              /* the application's own */
    int32_t field_flag;             /* field rendering */
    int32_t job_number;             /* -1: none; 0 on writing: the value of $QK_JOB_NUM */
    int32_t add_extension;          /* 1; 0 on writing keeps the extension from being added */
    int32_t reserved9;
    int32_t marker;      /* 22839 in an initialised record */
    float primaries[12]; /* chromaticities (x, y, z) of red, green, blue and white; NTSC */

    int32_t num_images;
    ZOR_IMAGE_DESC *images; /* owned array with the texts in it; see ZOR_info_add_image */

    int32_t frame_count; /* frames the application means to write; 1 */
    float frame_rate;    /* frames a second; 29.97 */
    int32_t reserved16[3];
    int32_t first_frame; /* number of the first one of a file with several frames; 1 */
    int32_t reserved18[3];
    ZOR_WORD untouched[5]; /* neither written nor read by the library */
} ZOR_INFO;

/* An open image; its layout is for drivers and operators (driver.h). */
typedef struct ZOR_IMAGE ZOR_IMAGE;

/* Name syntaxes -------------------------------------------------------------------------------- */

/* Kinds of a name syntax's elements. */
enum {
    ZOR_NAME_END = 0,
    ZOR_NAME_EXTENSION = 1,
    ZOR_NAME_FRAME = 3,
    ZOR_NAME_NAME = 4,
    ZOR_NAME_LITERAL = 5
};

/* One element of a parsed name syntax. 40 bytes. */
typedef struct ZOR_NAME_ELEMENT {
    int32_t reserved[3];  /* 0 */
    int32_t four;         /* 4 */
    int32_t zero;         /* 0 */
    int32_t length;       /* characters in the syntax; 1 in the end record */
    const char *text;     /* lowered; valid until the next parse, or path built with a syntax */
    int32_t value_length; /* used while a path is built; 0 otherwise */
    int32_t value_offset; /* likewise */
    int32_t kind;         /* ZOR_NAME_... */
} ZOR_NAME_ELEMENT;

#ifdef __cplusplus
}
#endif
#endif
