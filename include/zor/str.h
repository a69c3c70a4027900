/* str.h - strings, file names and arrays of strings.
 *
 * Strings are NUL-terminated bytes. Three rules hold throughout:
 *   - characters compare and hash as signed 8-bit values, so bytes from 0x80 on order before ASCII;
 *   - a growable string is null or came from STR_more (any function here that returns a new string
 *     included); functions that lengthen one may move it: keep the result instead of the argument.
 *     A null result means that memory ran out; the argument then still belongs to the caller.
 *     Release growable strings with ERR_free;
 *   - functions that only shorten or rewrite a string work in place and return their argument.
 *
 * File names use '/' on every system and may begin with a host prefix, "host:": the text before a
 * ':' that comes before any '/'.
 *
 * A pointer array is a null-terminated array of strings in a block of its own; an empty array is a
 * block that holds only the null.
 *
 * Nothing here reports errors. Threads: STR_define and STR_undefine share a process-wide table;
 * STR_expand_filename reads the environment, and what looks at the kind of a character the locale;
 * everything else touches its arguments only.
 */
#ifndef ZOR_STR_H
#define ZOR_STR_H

#include <stdint.h>

#include "export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Allocation and copies ------------------------------------------------------------------------ */

/* Null: a new empty string with room for n characters. Otherwise the string with room for n
 * characters, cut there; null when memory ran out. A negative n counts as 0. */
ZOR_API char *STR_more(char *string, int32_t n);

/* New strings: a copy (of null: an empty string); a copy of at most n characters; the count strings
 * that follow, joined (a count below 1 gives an empty string). */
ZOR_API char *STR_save(const char *string);
ZOR_API char *STR_n_save(const char *string, int32_t n);
ZOR_API char *STR_save_n(int32_t count, ...);

/* Bytes before the NUL; 0 for null. */
ZOR_API uint32_t STR_length(const char *string);

/* Comparison and search ------------------------------------------------------------------------ */

/* Difference of the first differing characters, 0 for equal strings. Where one string is null the
 * order of the addresses decides; two nulls are equal. STR_n_compare looks at the first n
 * characters, at one at least. */
ZOR_API int STR_compare(const char *a, const char *b);
ZOR_API int STR_n_compare(const char *a, const char *b, int32_t n);

/* Whether a word abbreviates a pattern in which one '*' marks the shortest form: "he*lp" accepts
 * "he", "hel" and "help". STR_abbr_compare orders strings with such marks left out. */
ZOR_API int STR_abbr(const char *word, const char *pattern);
ZOR_API int STR_abbr_compare(const char *a, const char *b);

/* The first white space after the first character, which is never looked at, or the terminator; and
 * the first character that is not white space. A null or empty string is returned as it is. */
ZOR_API char *STR_find_space(const char *string);
ZOR_API char *STR_skip_space(const char *string);

/* The first or last slot of a pointer array that holds an equal string, or null. */
ZOR_API char **STR_find_string(char **array, const char *string);
ZOR_API char **STR_find_string_reverse(char **array, const char *string);

/* Hash value below the modulus, which must not be 0; 0 for a null or empty string. */
ZOR_API uint32_t STR_hash(const char *string, uint32_t modulus);

/* Building and editing ------------------------------------------------------------------------- */

/* In all of these the source must not be part of the string it is added to. */

/* Appends to a growable string; a null one starts a new string. STR_n_append appends exactly n
 * bytes, padding a shorter source with NULs. */
ZOR_API char *STR_append(char *string, const char *source);
ZOR_API char *STR_n_append(char *string, const char *source, int32_t n);

/* Inserts one character, or the first n characters of a source, at an index, which is clamped to
 * the string. */
ZOR_API char *STR_insert(char *string, char character, int32_t index);
ZOR_API char *STR_n_insert(char *string, const char *source, int32_t index, int32_t n);

/* Fills a shorter string up to width with the character; the buffer holds width + 1 bytes. */
ZOR_API char *STR_pad(char *buffer, char character, int32_t width);

/* Remove the first, the last or every occurrence of a character, the character at an index, or n
 * characters from an index on (what lies before the string shortens the run). */
ZOR_API char *STR_remove(char *string, char character);
ZOR_API char *STR_remove_reverse(char *string, char character);
ZOR_API char *STR_remove_all(char *string, char character);
ZOR_API char *STR_remove_index(char *string, int32_t index);
ZOR_API char *STR_n_remove_index(char *string, int32_t index, int32_t n);

ZOR_API char *STR_reverse(char *string);
ZOR_API char *STR_tolower(char *string);
ZOR_API char *STR_toupper(char *string);

/* File names ----------------------------------------------------------------------------------- */

/* The text after the last '/', or the whole name. */
ZOR_API char *STR_tail(const char *name);

/* Cuts the name before its last run of slashes; null and no change without a '/'. */
ZOR_API char *STR_head(char *name);

/* The text after the last '.' anywhere in the name, directories included, or null. */
ZOR_API char *STR_extension(const char *name);

/* Cuts the name at its last '.'. */
ZOR_API char *STR_root(char *name);

/* Cuts the name down to its host; null and no change when there is none. STR_host_remove returns
 * the text after the host prefix, or the whole name. */
ZOR_API char *STR_host(char *name);
ZOR_API char *STR_host_remove(const char *name);

/* Whether a name has a host prefix: 0 without one, otherwise 1 for a null destination, else the
 * destination's address with the host, possibly empty, copied into it. */
ZOR_API intptr_t STR_filename_host(char *destination, const char *name);

/* Simplifies a name in place: single slashes, no "." and no "dir/..", no slash at the end; what
 * would be empty becomes ".". A host prefix is kept. "./a:b" becomes "a:b", whose host is "a": a
 * name that may hold a ':' is better made absolute first. The buffer has room for two bytes after
 * the prefix. */
ZOR_API char *STR_filename_clean(char *name);

/* Writes the name relative to a directory as one that is not: leading "." and ".." are resolved
 * against the directory, and the rest is appended. Names that begin with '/' or have a host are
 * copied as they are, a null or empty name gives "". The destination holds the lengths of directory
 * and name plus 2 bytes; it may be the directory's buffer. */
ZOR_API void STR_filename_absolute(char *destination, const char *directory, const char *name);

/* Writes the name as seen from a directory, or unchanged when that would climb three levels or
 * more, or out of a directory that is less than three levels deep. The destination holds the length
 * of the name plus 7 bytes. A name that equals the directory, or lies below one that is empty,
 * loses its leading slashes. */
ZOR_API void STR_filename_relative(char *destination, const char *directory, const char *name);

/* Expands $NAME and ${NAME} from the environment, skipping leading blanks. Values are not expanded
 * again, a '$' cannot be escaped, and a missing '}' is no error.
 *   result  receives a new string: the expanded text, cut at 259 characters, or the name of a
 *           variable that is not set; null when memory ran out
 * Returns 1; 0 when a variable is not set. */
ZOR_API int STR_expand_filename(const char *text, char **result);

/* Classification and splitting ----------------------------------------------------------------- */

/* Digits only, at least one. */
ZOR_API int STR_is_numeric(const char *string);

/* A decimal number of at most ten digits, sign allowed, that fits 32 bits. */
ZOR_API int STR_is_integer(const char *string);

/* Sign, digits, '.', digits, exponent, each of them optional: "." and "-" count as real, "1e" does
 * not. */
ZOR_API int STR_is_real(const char *string);

/* Splits a string in place at white space. Returns a new pointer array of the words, which point
 * into the string; release the array with ERR_free. Null when memory ran out, the
 * string being left alone then. */
ZOR_API char **STR_parse(char *string);

/* Sort a pointer array in place: ascending, descending, or in the order of the locale. Equal
 * strings may change places. Return the array. */
ZOR_API char **STR_sort(char **array);
ZOR_API char **STR_sort_reverse(char **array);
ZOR_API char **STR_sort_collate(char **array);

/* Shared strings ------------------------------------------------------------------------------- */

/* The one shared copy of a text, read-only; null when memory ran out. A null text counts as empty.
 * Every define is paired with one undefine; the last one frees the copy. STR_undefine_array
 * undefines every string of a pointer array and frees the array. */
ZOR_API const char *STR_define(const char *string);
ZOR_API int STR_undefine(const char *string);
ZOR_API int STR_undefine_array(char **array);

#ifdef __cplusplus
}
#endif
#endif
