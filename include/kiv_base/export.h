/* Linkage of the exported functions, and the conventions and C types that every family shares.
 *
 *   KIV_API       one exported function: C linkage, visible in the shared library
 *   KIV_CALL      its calling convention; callbacks have it too (cdecl on Windows)
 *   KIV_NOEXCEPT  no exception is ever thrown across the interface
 *
 * KIV_BASE_STATIC is for a program that links the library's own objects, like the tests of
 * this tree: on Windows it must not look for the functions in a DLL. The installed library is
 * the shared one.
 *
 * Conventions of all headers:
 * - A handle is the address of its object; NULL is never valid, and every function checks for it.
 * - A function that acts or tests returns 1 or 0; one that returns an id, a count or a number of
 *   bytes returns -1 on failure; one that creates an object returns NULL on failure.
 * - A value or argument that the library passes on is a `void*`: anything that fits a pointer.
 * - Newly allocated objects belong to the caller, who frees them with `_zu_free` or with the
 *   family's own free function, which ignores NULL.
 * - A failure that has a message prints it as one line on standard output. */
#ifndef KIV_BASE_EXPORT_H
#define KIV_BASE_EXPORT_H

#include <stddef.h>
#include <stdint.h>

/* The version of these headers: a newer MINOR adds functions and changes none, a newer MAJOR may
 * break programs. Version 1.2.3 is the number 10203; kivx_Version returns that of the library. */
#define KIV_BASE_VERSION_MAJOR 1
#define KIV_BASE_VERSION_MINOR 0
#define KIV_BASE_VERSION_PATCH 0
#define KIV_BASE_VERSION \
  (KIV_BASE_VERSION_MAJOR * 10000 + KIV_BASE_VERSION_MINOR * 100 + KIV_BASE_VERSION_PATCH)

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
