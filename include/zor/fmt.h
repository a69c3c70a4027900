/* fmt.h - format defaults: the site's and the user's wishes for new images.
 *
 * The database holds a table of named picture geometries and a handful of settings. Compiled-in
 * values apply until the configuration file ".zorrc" overrides them; the file is looked for in
 * $HOME, then in $QK_ROOT/userconfig, then under the built-in root. docs/configuration.md lists the
 * keywords.
 *
 * ZOR_init starts the database and ZOR_exit ends it; every accessor starts it by itself when
 * nothing else has. Texts and entries are the database's own: they stay valid until FMT_exit, and
 * a new start may bring others.
 *
 * Threads: process-wide state without a lock; use it from one thread.
 */
#ifndef ZOR_FMT_H
#define ZOR_FMT_H

#include <stdint.h>

#include "export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A named picture geometry. */
typedef struct FMT_ASPECT {
    const char *name; /* matched exactly, case included */
    int32_t width;    /* pixels in a line */
    int32_t height;   /* lines */
    float aspect;     /* width to height of the picture as it is displayed */
} FMT_ASPECT;

/* Starts the database and reads the configuration file; a missing file is no error. Lines with a
 * syntax error are reported and skipped. When the database is up already only the enumeration of
 * FMT_info is rewound.
 *   catalogue  handed on to every report; may be null
 * Returns 0; -1 when an entry could not be allocated, with the database down again; ZOR_E_MEMORY
 * when a text could not be copied, with what was read so far in place. zor__err is ZOR_E_MEMORY in
 * both cases. */
ZOR_API int FMT_init(void *catalogue);

/* Ends the database and closes the configuration file for the colour database too. Numbers read
 * from the file keep their values, texts return to the built-in ones. Returns 0. */
ZOR_API int FMT_exit(void);

/* The entry of that name, or null. A match moves the enumeration of FMT_info to just after it. */
ZOR_API const FMT_ASPECT *FMT_find(const char *name);

/* The next entry of the enumeration, null after the last: built-in ones first, then those of the
 * file in file order. FMT_init rewinds. */
ZOR_API const FMT_ASPECT *FMT_info(void);

ZOR_API const char *FMT_def_aspect(void);     /* name of the default geometry: "ntsc_640" */
ZOR_API uint32_t FMT_def_dominance(void);     /* field shown first: 0 even, 1 odd: 1 */
ZOR_API uint32_t FMT_def_frame_rate(void);    /* frames a second: 30 */
ZOR_API float FMT_def_gamma(void);            /* gamma of new images: 2.2 */
ZOR_API float FMT_def_input_gamma(void);      /* gamma of files that state none: 1.0 */
ZOR_API int32_t FMT_def_gamma_tab_res(void);  /* entries of gamma tables: 4096; not checked */
ZOR_API uint32_t FMT_def_swatch(void);        /* swatch size, 0 = none: 0 */
ZOR_API const char *FMT_def_image_data(void); /* channel format of new images: "rgb" */

#ifdef __cplusplus
}
#endif
#endif
