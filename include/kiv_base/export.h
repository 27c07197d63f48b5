/* Linkage of the exported functions and the C types that every family shares.
 *
 * KIV_API       one exported function: C linkage, visible in the shared library
 * KIV_CALL      its calling convention; callbacks carry it too (cdecl on Windows)
 * KIV_NOEXCEPT  nothing is ever thrown across the interface
 *
 * KIV_BASE_STATIC is for a program that links the library's own objects, as tests of this tree do:
 * on Windows it must not look for the functions in a DLL. What is installed is the shared library.
 *
 * Conventions of all headers:
 * - A handle is the address of its object; NULL is never valid, and every function tests it.
 * - An action or predicate returns 1 or 0; one that returns an id, a count or a byte number
 *   returns -1 on failure; one that makes something returns NULL on failure.
 * - A value or argument handed through the library is a `void*`; what fits a pointer fits it.
 * - What a function returns as new belongs to the caller, who gives it back to `_zu_free` or to
 *   the family's own free function, which does nothing with NULL.
 * - Failures that have a text print it as one line on standard output.
 */
#ifndef KIV_BASE_EXPORT_H
#define KIV_BASE_EXPORT_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define KIV_CALL __cdecl
#if defined(KIV_BASE_BUILD) || defined(KIV_BASE_STATIC)
#define KIV_VISIBLE
#else
#define KIV_VISIBLE __declspec(dllimport)
#endif
#else
#define KIV_CALL
#define KIV_VISIBLE __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#define KIV_API extern "C" KIV_VISIBLE
#define KIV_NOEXCEPT noexcept
#else
#define KIV_API extern KIV_VISIBLE
#define KIV_NOEXCEPT
#endif

/* Marks a function whose arguments follow printf; the argument positions count from 1. */
#if defined(__MINGW32__) && !defined(__clang__)
#define KIV_PRINTF(text, first) __attribute__((format(gnu_printf, text, first)))
#elif defined(__GNUC__)
#define KIV_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define KIV_PRINTF(text, first)
#endif

#endif
