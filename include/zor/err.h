/* err.h - error reporting, the status word and the checked allocator.
 *
 * A report has a severity and a message text. It is handed to a chain of handlers, the last of
 * which, ERR_def_handler, prints "SEVERITY, message" on the standard error stream and, for
 * ERR_FATAL, ends the process. Reports can be masked altogether, by severity or by record, are
 * counted by severity, and the sixteen latest can be looked up again.
 *
 * Two kinds of report share that machinery:
 *   - catalogue reports (ERR_report_cat, ERR_printf, ERR_report_errno) name a severity and a printf
 *     format; the library itself reports this way everywhere (the texts are in messages.h);
 *   - record reports (ERR_report) use an ERR_OBJECT that the application owns, with a format,
 *     handlers, a mask and a counter of its own.
 *
 * A function of the library that fails reports the reason, sets zor__err to a negative status and
 * returns a negative value or a null pointer, unless its comment says otherwise.
 *
 * Threads: the reporter is process-wide state without a lock; report from one thread at a time.
 */
#ifndef ZOR_ERR_H
#define ZOR_ERR_H

#include <stddef.h>
#include <stdint.h>

#include "export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Severities, in rising order. DEBUG is masked until ERR_unmask_s(ERR_DEBUG). */
enum { ERR_DEBUG = 0, ERR_INFORMATION = 1, ERR_WARNING = 2, ERR_ERROR = 3, ERR_FATAL = 4 };

/* Failure classes left in zor__err. */
enum {
    ZOR_OK = 0,
    ZOR_E_ARGUMENT = -1, /* a mode other than "r" or "w", a count below 0 */
    ZOR_E_SCANLINE = -2, /* scanline out of range or out of sequence */
    ZOR_E_CHANNELS = -4, /* unknown channel format */
    ZOR_E_OPEN = -5,     /* the file cannot be opened or created, or the request lacks something */
    ZOR_E_DECODE = -7,   /* the file's data is corrupt */
    ZOR_E_NOT_THIS_TYPE = -8, /* the file is not of the driver's format */
    ZOR_E_KEY = -9,           /* no driver for this key or extension */
    ZOR_E_MEMORY = -10,       /* out of memory, and other internal failures */
    ZOR_E_SYNTAX = -11,       /* invalid name syntax */
    ZOR_E_EMPTY_SYNTAX = -13, /* empty name syntax */
    ZOR_E_UNSUPPORTED = -16,  /* the driver or operator cannot do what was asked */
    ZOR_E_READ = -18,         /* the file cannot be read */
    ZOR_E_WRITE = -20         /* the file cannot be written */
};

/* Status of the latest call that set one: ZOR_OK or one of the classes above. Calls that succeed
 * need not clear it: look at it after a failure. */
extern ZOR_API int32_t zor__err;

/* The application's message catalogue as given to ZOR_init; opaque, may be null. */
extern ZOR_API void *zor__msg_cat;

typedef struct ERR_OBJECT ERR_OBJECT;

/* A report handler.
 *   name      the record's name
 *   severity  ERR_DEBUG to ERR_FATAL, or another one that was reported
 *   message   the expanded text; valid during the call only, and only until the next report of the
 *             same kind
 *   record    the record reported on; for catalogue reports the library's own
 *   data      the word given to ERR_dcl_handler; null for a record's own handler
 * Returns 0 when the report is dealt with, non-zero to pass it on to the next handler. A handler
 * may add and remove handlers, itself included. What it reports with the message as an argument
 * must be of another kind (ERR_printf for a catalogue report), since a kind has one buffer. */
typedef int (*ERR_HANDLER_FUNCTION)(const char *name, int severity, const char *message,
                                    ERR_OBJECT *record, void *data);

/* A node of a handler stack; nodes belong to the library. */
typedef struct ERR_HANDLER {
    struct ERR_HANDLER *next;
    ERR_HANDLER_FUNCTION function;
    void *data;
} ERR_HANDLER;

/* An error record. Applications declare theirs statically, since ERR_last may show it as long as
 * the process lives, and fill in severity and text, and what else they need; all other fields start
 * at 0. */
struct ERR_OBJECT {
    uint8_t kind;                 /* 1 in the library's own records; never read */
    uint8_t severity;             /* ERR_DEBUG to ERR_FATAL */
    uint32_t flags;               /* bit 0: masked */
    const char *name;             /* given to handlers and matched by ERR_compare; in the library's
                                     own records the latest report's unexpanded format */
    const char *text;             /* the format; in the library's own records the latest message */
    uint32_t count;               /* ERR_report calls on this record, masked ones included */
    ERR_HANDLER_FUNCTION handler; /* the record's own handler, or null */
    ERR_HANDLER *handlers;        /* top of the record's handler stack, or null */
    uintptr_t user_word_1;        /* the application's own */
    uintptr_t user_word_2;
    const char *const *argument_names; /* null-terminated names of the format's arguments, or null;
                                          used by ERR_format_fill */
};

/* Reporting ------------------------------------------------------------------------------------ */

/* Reports a message of the catalogue. Nothing is counted or kept when a mask suppresses it.
 *   catalogue, set, number  identify the message to a catalogue-aware reporter; not used today
 *   severity                ERR_DEBUG to ERR_FATAL; not checked
 *   format                  the default text, printf-fashion; the message is cut at 32767 bytes
 * Returns 0 when the report was handed on, non-zero when a mask suppressed it. */
ZOR_API int ERR_report_cat(void *catalogue, int set, int number, int severity, const char *format,
                           ...) ZOR_PRINTF(5, 6);

/* Reports a message that has no place in a catalogue; otherwise as ERR_report_cat. */
ZOR_API void ERR_printf(int severity, const char *format, ...) ZOR_PRINTF(2, 3);

/* Reports the system's text for an error number at ERR_ERROR, as "prefix: text", or just the text
 * when the prefix is null or empty. A number the system has no text for reads "error N". */
ZOR_API void ERR_report_errno(int number, const char *prefix);

/* Reports on a record. The record's text is expanded with the arguments; of printf it knows %c, %d,
 * %f, %s and %% only, without flags, widths or precisions, and the message is cut at 255 bytes.
 * Masked reports are still counted. Returns 0. */
ZOR_API int ERR_report(ERR_OBJECT *record, ...);

/* Expands a record's text into a buffer the way ERR_report does, without reporting. The buffer is
 * left alone when the record, its severity or everything is masked; otherwise the caller vouches
 * for its size. Returns the buffer. */
ZOR_API char *ERR_format(char *buffer, ERR_OBJECT *record, ...);

/* Writes a record's text with every conversion replaced by the name of its argument in angle
 * brackets: the next entry of argument_names, or "character", "integer", "real", "string" or
 * "unknown type" once the names have run out. The caller vouches for the buffer's size. Returns the
 * buffer. */
ZOR_API char *ERR_format_fill(const ERR_OBJECT *record, char *buffer);

/* Masks ---------------------------------------------------------------------------------------- */

/* Masks or unmasks one record, or everything when the record is null. Returns the previous state,
 * 0 or 1. */
ZOR_API int ERR_mask(ERR_OBJECT *record);
ZOR_API int ERR_unmask(ERR_OBJECT *record);

/* Masks or unmasks one severity. Returns the previous state; 0 for a severity that does not exist.
 */
ZOR_API int ERR_mask_s(int severity);
ZOR_API int ERR_unmask_s(int severity);

/* Handlers ------------------------------------------------------------------------------------- */

/* Pushes a handler on a record's stack, or on the global one when the record is null. Order of
 * calls: the record's stack newest first, the record's own handler, the global stack newest first,
 * ERR_def_handler. Returns 1; 0 when out of memory (reported). */
ZOR_API int ERR_dcl_handler(ERR_OBJECT *record, ERR_HANDLER_FUNCTION function, void *data);

/* Pops the newest handler of the same stack. Returns its function, null when there was none (or a
 * null one had been pushed). */
ZOR_API ERR_HANDLER_FUNCTION ERR_can_handler(ERR_OBJECT *record);

/* The last link of the chain: prints "SEVERITY, message" on the standard error stream; for
 * ERR_FATAL it then shows a message box, where the system has one, and aborts. Returns 0. */
ZOR_API int ERR_def_handler(const char *name, int severity, const char *message, ERR_OBJECT *record,
                            void *data);

/* Looking back --------------------------------------------------------------------------------- */

/* The record of the n-th latest report, 0 the latest, up to 15; null when there were fewer. All
 * reports by ERR_report_cat and zor__fail share one record, which shows the latest of them, and so
 * do all those by ERR_printf and ERR_report_errno. */
ZOR_API ERR_OBJECT *ERR_last(int n);

/* Reads a record. Every output may be null. Returns the second user word. */
ZOR_API uintptr_t ERR_query(const ERR_OBJECT *record, int *severity, int *masked, uint32_t *count,
                            const char **name, const char **text, uintptr_t *user_word_1,
                            uintptr_t *user_word_2);

/* Number of reports of a severity, or of all severities for -1; 0 for anything else. Of masked
 * reports only those by ERR_report count. */
ZOR_API uint32_t ERR_stats(int severity);

/* Compares a text with a record's name, or with the name from its sixth character on when skip is
 * non-zero. A text that is a prefix of the name matches. Negative, 0 or positive as strcmp. */
ZOR_API int ERR_compare(const char *text, const ERR_OBJECT *record, int skip);

/* The printed name of a severity, such as "WARNING"; "UNKNOWN" for one that does not exist. */
ZOR_API const char *ERR_type(int severity);

/* Memory --------------------------------------------------------------------------------------- */

/* malloc, realloc and free of the C library, except that running out of memory is reported as "No
 * more internal memory", and that a size of 0 always gives a block. Blocks may be exchanged freely
 * with malloc and free of the same C library. ERR_realloc leaves the old block alone when it fails.
 * ERR_free returns 1. */
ZOR_API void *ERR_malloc(size_t size);
ZOR_API void *ERR_realloc(void *block, size_t size);
ZOR_API int ERR_free(void *block);

/* For several processes sharing one reporter, which nothing enables today: with a zero flag the
 * value is remembered and 1 returned, with a non-zero flag the answer is 0. */
ZOR_API int ERR_report_mp(int32_t value, int flag);

#ifdef __cplusplus
}
#endif
#endif
