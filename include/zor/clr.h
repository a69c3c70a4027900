/* clr.h - colour defaults: primaries, white point, and how spectral samples relate to XYZ.
 *
 * The database holds the chromaticities that new images take, the visible range, and a set of
 * sample spaces: divisions of the range into bins of wavelengths, each with the weights that turn
 * an image's samples, one for each bin, into the tristimulus values X, Y, Z and back. The weights
 * are computed from the colour-matching functions of a standard observer. Compiled-in values apply
 * until the configuration file ".zorrc" overrides them; docs/configuration.md lists the keywords.
 *
 * ZOR_init starts the database and ZOR_exit ends it; every accessor starts it by itself when
 * nothing else has; when that fails, CLR_find returns null, and the others what the settings were
 * by then. What is returned by address is the database's own, and valid until CLR_exit.
 *
 *     const CLR_SAMPLES *space = CLR_find(3);
 *     for (int32_t j = 0; j < space->n; ++j) // from samples to X, Y, Z
 *         for (int c = 0; c < 3; ++c)
 *             xyz[c] += sample[j] * space->to_xyz[3 * j + c];
 *
 * Threads: process-wide state without a lock; use it from one thread.
 */
#ifndef ZOR_CLR_H
#define ZOR_CLR_H

#include <stdint.h>

#include "export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A row of a table of colour-matching functions. 16 bytes on every build. */
typedef struct CLR_TRISTIMULUS {
    float wavelength; /* nanometres */
    float x, y, z;    /* the functions there, on any scale: the database makes their integrals 1 */
} CLR_TRISTIMULUS;

/* A sample space. Edges rise in the built-in ones; those of a configuration file are taken as they
 * stand, and what lies outside the visible range weighs nothing. 24 bytes on 32-bit builds. */
typedef struct CLR_SAMPLES {
    int32_t n;              /* bins: 1 to 4096 */
    int32_t uniform;        /* 1: the bins divide the visible range evenly; 0: edges of their own */
    const float *bounds;    /* n + 1 edges in nanometres */
    const float *inv_width; /* n: 1 / (upper edge - lower edge); 0 for a bin without a width */
    const float *to_xyz;    /* 3 n: sample j adds to_xyz[3 j + c] of itself to X, Y, Z, c = 0, 1, 2.
                               It is the integral of a matching function over the bin, so that bins
                               that cover the range turn samples of 1 into X = Y = Z = 1 */
    const float *from_xyz;  /* 3 n: X, Y, Z add from_xyz[3 j + c] of themselves to sample j. With
                               three bins the inverse of to_xyz, 0 where it has none; with others
                               the samples of the three-bin space, whose outer bins reach to the
                               ends of the range for that, averaged over the bin */
} CLR_SAMPLES;

/* Starts the database and reads the configuration file, or its lines again when they are in memory
 * already; a missing file is no error. All settings start from their built-in values. Nothing
 * happens when the database is up.
 *   catalogue  handed on to every report; may be null
 * Returns 0; -1, reported and with zor__err ZOR_E_MEMORY, when the file asks for what cannot be or
 * memory ran out. The database is then down again, with one exception: a word where a number is
 * expected stops the start halfway, and the database stays up with what was read so far and weights
 * of 0. */
ZOR_API int CLR_init(void *catalogue);

/* Ends the database, and closes the configuration file for the format defaults too. Not while other
 * threads use images or the database. Returns 0. */
ZOR_API int CLR_exit(void);

/* The sample space with n bins, or null. 1 to 10 are built in. */
ZOR_API const CLR_SAMPLES *CLR_find(int32_t n);

ZOR_API int32_t CLR_def_color_samp(void);   /* colour samples of a default image: 3 */
ZOR_API float CLR_def_min_wavelength(void); /* visible range, nanometres: 380 */
ZOR_API float CLR_def_max_wavelength(void); /* 780 */
ZOR_API int32_t CLR_def_xyz_tab_res(void);  /* points at which the functions are sampled: 401 */

/* Chromaticities x, y, z of the primaries and of the white point. */
ZOR_API const float *CLR_def_red_primary(void);   /* 0.67, 0.33, 0 */
ZOR_API const float *CLR_def_green_primary(void); /* 0.21, 0.71, 0.08 */
ZOR_API const float *CLR_def_blue_primary(void);  /* 0.14, 0.08, 0.78 */
ZOR_API const float *CLR_def_white_point(void);   /* 0.31, 0.316, 0.374 */

/* Internal to the library: prints that it should not be called. */
ZOR_API void CLR_symbols(void);

#ifdef __cplusplus
}
#endif
#endif
