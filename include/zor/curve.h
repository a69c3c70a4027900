/* curve.h - how stored values relate to light: gamma tables and response curves.
 *
 * Stored values in [0, 1] are mostly not proportional to light: light is their power, with an
 * exponent called gamma. Tables go from one to the other quickly.
 *
 * Conventions:
 *   - N is the gamma-table resolution of the format defaults (FMT_def_gamma_tab_res, 4096 unless
 *     configured), read afresh by each call; light is counted from 0 to N - 1;
 *   - values are computed in double precision, and rounded or converted once.
 *
 * Threads: the functions may be called from several threads at once, on different curves.
 */
#ifndef ZOR_CURVE_H
#define ZOR_CURVE_H

#include <stdint.h>

#include "export.h"
#include "records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Gamma tables ------------------------------------------------------------------------------------
 *
 * Each builder returns a new table, which ZOR_gamma_done releases, or null when memory ran out or
 * N < 2, neither of which is reported. The bounds keep tables at or above (decoding) and at or
 * below (encoding) a straight line of slope 1 near black.
 *   gamma  exponent from stored values to light; 0 and less, and what is not finite, are taken as
 *          they come, and entries stay within their type
 */

/* Bytes to light as a fraction: 256 entries, max((i / 255)^gamma, i / (N - 1)). */
ZOR_API float *ZOR_gamma_btof(double gamma);

/* Bytes to light from 0 to N - 1: 256 entries, max((i / 255)^gamma * (N - 1) rounded, i). */
ZOR_API uint16_t *ZOR_gamma_btos(double gamma);

/* Light to bytes: N entries, min((i / (N - 1))^(1 / gamma) * 255 rounded, i). */
ZOR_API uint8_t *ZOR_gamma_tob(double gamma);

/* Light to a float from 0 to 254.9, which truncates to a byte: N entries,
 * min((i / (N - 1))^(1 / gamma) * 254.9, i). */
ZOR_API float *ZOR_gamma_tof(double gamma);

/* Releases a table; null is ignored. Returns 1. */
ZOR_API int ZOR_gamma_done(void *table);

/* Response curves ---------------------------------------------------------------------------------
 *
 * Kind 1 is a power function, kind 2 a table for each channel. The tables belong to the record that
 * holds them. Integer tables have entries of 8 bits, in bytes, or of 9 to 16 bits, in 16-bit words.
 * A tabulated power function has 2 to 2^24 elements in each channel.
 */

/* Tabulates a curve whose gamma, num_channels, num_elements, type and depth are filled in, for
 * input values that stand for [0, 1]; what it had as tables is forgotten. Kind becomes 2. Returns
 * 0; -1 without a report for counts, a type or a depth that tables cannot have; -1 with
 * ZOR_E_MEMORY when memory ran out. */
ZOR_API int ZOR_response_curve_init(ZOR_RESPONSE_CURVE *curve);

/* Copies a curve, with tables of its own where it has any; copy is another record. Returns 0; -1
 * for a depth or type that tables cannot have (ZOR_MSG_CURVE_DEPTH, ZOR_MSG_CURVE_TYPE) or for
 * tables without entries, zor__err being left alone; -1 and ZOR_E_MEMORY when memory ran out. */
ZOR_API int ZOR_response_curve_copy(ZOR_RESPONSE_CURVE *copy, const ZOR_RESPONSE_CURVE *curve);

/* Composes two curves into a tabulated one: result(i) = first(second(i)). In this a power function
 * stands for its inverse when it is the first curve (so that it encodes) and for itself when it is
 * the second (so that it decodes):
 *
 *   first, second    the result has
 *   power, power     gamma second / first, the channels and elements of second, the type and depth
 *                    of first
 *   power, tables    as tables, tables, with first tabulated for the output of second
 *   tables, power    as tables, tables, with second tabulated as its counts, type and depth say
 *   tables, tables   gamma 1, the channels and elements of second, the type and depth of first
 *
 *   result  overwritten; must be neither of the others
 * Returns 0; -1 when a table cannot be made (as ZOR_response_curve_init) or the curves do not fit:
 * ZOR_MSG_CURVE_CHANNELS (unequal channel counts), ZOR_MSG_CURVE_FLOAT (second has float entries),
 * ZOR_MSG_CURVE_ELEMENTS (first has not one element for each value second can give), zor__err being
 * left alone. After a failure the result has no tables. */
ZOR_API int ZOR_response_curve_comp(const ZOR_RESPONSE_CURVE *first,
                                    const ZOR_RESPONSE_CURVE *second, ZOR_RESPONSE_CURVE *result);

/* Frees the tables of a tabulated curve, not the record. Null is ignored. Returns 1. */
ZOR_API int ZOR_response_curve_done(ZOR_RESPONSE_CURVE *curve);

#ifdef __cplusplus
}
#endif
#endif
