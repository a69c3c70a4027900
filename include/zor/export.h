/* export.h - how the library's names cross the module boundary.
 *
 * Every public function and variable is declared with ZOR_API. Everything else in the library is
 * built hidden, so a name without it cannot be reached from outside.
 *
 *   ZOR_BUILD    defined while the library itself is compiled
 *   ZOR_STATIC   defined by users of a static build (no import, no export)
 */
#ifndef ZOR_EXPORT_H
#define ZOR_EXPORT_H

#if defined(_WIN32)
#    define ZOR_EXPORT __declspec(dllexport)
#    define ZOR_IMPORT __declspec(dllimport)
#else
#    define ZOR_EXPORT __attribute__((visibility("default")))
#    define ZOR_IMPORT
#endif

#if defined(ZOR_BUILD)
#    define ZOR_API ZOR_EXPORT
#elif defined(ZOR_STATIC)
#    define ZOR_API
#else
#    define ZOR_API ZOR_IMPORT
#endif

/* Lets the compiler check the arguments of a printf-like function: the positions of the format and
 * of the first argument it expands, counted from 1. */
#if defined(__GNUC__)
#    define ZOR_PRINTF(text, arguments) __attribute__((format(printf, text, arguments)))
#else
#    define ZOR_PRINTF(text, arguments)
#endif

#endif
