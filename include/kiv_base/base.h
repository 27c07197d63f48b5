/* The runtime under every family: set-up, locks, the registry of live objects, memory, logs and the
 * console trace, strings, files and time.
 *
 *   kiv_Setup();
 *   zu_log* log = zu_log_malloc("service.log");
 *   zu_log_notice(log, "started with %d workers\n", 4);
 *   zu_log_free(log);
 *   kiv_Shutdown();
 *
 * Threads: locks, the object registry, allocation, logs and the console may be used by any thread
 * at any time. A memory pool belongs to one thread at a time. The string, file and time functions
 * keep no state. Stop every thread that uses the library before shutting it down: kiv_Shutdown
 * waits for operations that are running on registered objects, but afterwards every handle is
 * unknown and no object can be freed. Threads of the library that were told to end may still be
 * ending; until they have, they keep the library loaded. */
#ifndef KIV_BASE_BASE_H
#define KIV_BASE_BASE_H

#include "kiv_base/export.h"

/* ---- Set-up and shut-down -------------------------------------------------------------------- */

/* Starts the process-wide services: sockets, the console trace, and the registries of boxes, of
 * live objects and of big boxes. Each service also starts itself on first use, so calling this only
 * does early what would happen anyway. Always returns 1. */
KIV_API int KIV_CALL kiv_Setup(void) KIV_NOEXCEPT;

/* Stops the services. Objects that are still alive are not freed; from here on their handles are
 * unknown. Returns the result of zu_console_Shutdown. A later kiv_Setup starts afresh. */
KIV_API int KIV_CALL kiv_Shutdown(void) KIV_NOEXCEPT;

/* An addition. Returns the version of the library that is loaded, as KIV_BASE_VERSION states that
 * of the headers: 10203 for 1.2.3. A library is compatible with headers of the same major version
 * that are not newer. */
KIV_API int32_t KIV_CALL kivx_Version(void) KIV_NOEXCEPT;

/* ---- Locks --------------------------------------------------------------------------------- */

/* A recursive lock. The storage holds the system's own lock object; `state` is 1 while the lock is
 * usable, and -1 before initialisation and after destruction. */
typedef struct zu_sem {
  void* section[sizeof(void*) == 4 ? 6 : 5];
  int32_t state;
} zu_sem;

/* Initialises the lock in the caller's record. Both names are the same function. */
KIV_API void KIV_CALL zu_sem_init(zu_sem* record) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_sem_init_ex(zu_sem* record) KIV_NOEXCEPT;

/* Allocates a lock and returns the address of its zu_sem, or 0 if out of memory. */
KIV_API uintptr_t KIV_CALL zu_sem_malloc(void) KIV_NOEXCEPT;

/* Destroys and frees a lock of zu_sem_malloc. 0 is ignored. */
KIV_API void KIV_CALL zu_sem_free(uintptr_t handle) KIV_NOEXCEPT;

/* Acquires the lock, blocking until it is free, or releases it once. A thread may acquire a lock
 * that it already holds, and must release it as often. Returns 1, or 0 immediately if the record's
 * state is not 1. */
KIV_API int KIV_CALL zu_sem_lock(uintptr_t handle) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sem_unlock(uintptr_t handle) KIV_NOEXCEPT;

/* Destroys the lock, which no thread may hold or wait for. Returns 1, or 0 if the state is not
 * 1. */
KIV_API int KIV_CALL zu_sem_destroy(zu_sem* record) KIV_NOEXCEPT;

/* ---- Registry of live objects --------------------------------------------------------------
 *
 * One process-wide set of the addresses of live upper-layer objects, under one lock that serialises
 * all operations on all of them. An operation on a handle reads
 *
 *   if (__kiv_sem_lock(handle) == 0) return 0;   // freed, or never an object: touch nothing
 *   ...
 *   __kiv_sem_unlock();
 *
 * The lock is recursive and is acquired before the lock of any box, never after it. Every function
 * except __kiv_sem_unlock creates the registry if there is none. The registry never reads the
 * objects and never frees them. An address that the heap has reused counts as live again: a stale
 * handle is detected only until then. The library also checks the type of its own objects: their
 * operations fail for any other registered address. */

/* Creates the registry unless it exists. Returns 1 if it exists afterwards, or 0 if out of
 * memory. */
KIV_API int KIV_CALL kiv_sem_Setup(void) KIV_NOEXCEPT;

/* Removes all addresses. A caller that holds the registry's lock no longer holds it afterwards. */
KIV_API void KIV_CALL kiv_sem_Shutdown(void) KIV_NOEXCEPT;

/* Registers the address. Returns 1 if it is registered afterwards, even if it was before; 0 for
 * NULL or if out of memory. */
KIV_API int KIV_CALL __kiv_sem_insert(void* object) KIV_NOEXCEPT;

/* Returns 1 if the address is registered, else 0. The answer may be out of date when it arrives:
 * see __kiv_sem_lock. */
KIV_API int KIV_CALL __kiv_sem_check(void* object) KIV_NOEXCEPT;

/* Acquires the registry's lock and keeps it if the address is registered. Returns 1 with the lock
 * held, or 0 with the lock released. */
KIV_API int KIV_CALL __kiv_sem_lock(void* object) KIV_NOEXCEPT;

/* Releases one successful __kiv_sem_lock of this thread. Returns 1, or 0 if there is none to
 * release, for example after a shut-down. */
KIV_API int KIV_CALL __kiv_sem_unlock(void) KIV_NOEXCEPT;

/* Removes the address from the registry. Unknown addresses are ignored. */
KIV_API void KIV_CALL __kiv_sem_remove(void* object) KIV_NOEXCEPT;

/* ---- Memory -------------------------------------------------------------------------------- */

/* Allocates `count` bytes from the process heap; they are not zeroed. Returns NULL if `count` is 0
 * or negative, or if out of memory. */
KIV_API void* KIV_CALL _zu_malloc(int32_t count) KIV_NOEXCEPT;

/* Resizes a block of _zu_malloc, or allocates one if `block` is NULL. If `count` is 0, frees the
 * block and returns NULL. After any other NULL the old block is still valid. */
KIV_API void* KIV_CALL _zu_realloc(void* block, uint32_t count) KIV_NOEXCEPT;

/* Frees memory that the library returned. NULL is ignored. */
KIV_API void KIV_CALL _zu_free(void* block) KIV_NOEXCEPT;

/* Does nothing; reserved for memory statistics. */
KIV_API void KIV_CALL _zu_minfo(void) KIV_NOEXCEPT;

/* ---- Memory pool ---------------------------------------------------------------------------
 *
 * A next-fit allocator over one region. The caller keeps the region until the last use of the pool
 * and then frees it. The handle is the region's address. The pool's own record takes 24 bytes, and
 * each block has a header of 9 bytes directly before its payload. Nothing is aligned: store values
 * wider than a byte with memcpy. Not locked. */

/* Formats `size` bytes at `region` as a pool with one free block; every earlier allocation in it is
 * discarded. Returns the pool, or NULL if the region is NULL or the size below 34. */
KIV_API void* KIV_CALL zu_mem_init(void* region, uint32_t size) KIV_NOEXCEPT;

/* Allocates `count` bytes. Returns NULL if no free block is large enough. If the remainder would be
 * too small for a block, the whole block is returned, up to 9 bytes larger than requested. Takes
 * time linear in the number of blocks between the last allocation and the first fit. */
KIV_API void* KIV_CALL zu_mem_malloc(void* pool, uint32_t count) KIV_NOEXCEPT;

/* Frees a block and merges it with free neighbours, in constant time. A pointer that is detectably
 * not a live block (out of bounds, already freed, or with a header that contradicts its neighbours)
 * is ignored. */
KIV_API void KIV_CALL zu_mem_free(void* pool, void* payload) KIV_NOEXCEPT;

/* Returns 1 if the pointer is a live allocation of this pool, which is checked by walking its
 * blocks; else 0. `size`, unless NULL, receives the block's payload size. */
KIV_API int KIV_CALL zu_mem_is_valid_ext_(void* pool, const void* payload,
                                          uint32_t* size) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_mem_is_valid(void* pool, const void* payload) KIV_NOEXCEPT;

/* Stores the sizes of the largest blocks and the numbers of blocks. Each output may be NULL; all
 * are 0 for a NULL or destroyed pool. */
KIV_API void KIV_CALL zu_mem_info(void* pool, uint32_t* largest_used, uint32_t* largest_free,
                                  uint32_t* used_blocks, uint32_t* free_blocks) KIV_NOEXCEPT;

/* Disables the pool: later calls fail or do nothing. The region still belongs to the caller. */
KIV_API void KIV_CALL zu_mem_destroy(void* pool) KIV_NOEXCEPT;

/* Prints every block on standard output. */
KIV_API void KIV_CALL zu_mem_print(void* pool) KIV_NOEXCEPT;

/* ---- Logs ----------------------------------------------------------------------------------
 *
 * A log appends to its file and flushes every message, so the message has been written when
 * the call returns. Threads may share a log: messages are never interleaved. No line end is
 * added. A message longer than 102400 bytes, including time stamp and prefix, is truncated to
 * that length. */

typedef struct zu_log {
  char path[261];
  void* file; /* a FILE* of the library's own C runtime; NULL when closed */
  zu_sem lock;
  char* buffer;
} zu_log;

/* Opens `path` (its first 260 characters) for appending, in the caller's record. Returns 1, or 0 if
 * the file cannot be opened or if out of memory; zu_log_destroy may be called in either case. */
KIV_API int KIV_CALL zu_log_init(zu_log* log, const char* path) KIV_NOEXCEPT;

/* Allocates a log and opens `path`. Returns NULL if zu_log_init fails. Free it with zu_log_free. */
KIV_API zu_log* KIV_CALL zu_log_malloc(const char* path) KIV_NOEXCEPT;

/* Closes the file and frees its resources; zu_log_free also frees the record of zu_log_malloc. No
 * other thread may still use the log. */
KIV_API void KIV_CALL zu_log_destroy(zu_log* log) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_log_free(zu_log* log) KIV_NOEXCEPT;

/* Writes the formatted message as it is. Returns 1, or 0 for a NULL argument or a destroyed log. */
KIV_API KIV_PRINTF(2, 3) int KIV_CALL
    zu_log_printf(zu_log* log, const char* format, ...) KIV_NOEXCEPT;

/* Writes the formatted message, preceded by the local time and a severity: "2009-03-07 09:05:01
 * warn: ". Returns the same as zu_log_printf. */
KIV_API KIV_PRINTF(2, 3) int KIV_CALL
    zu_log_notice(zu_log* log, const char* format, ...) KIV_NOEXCEPT;
KIV_API KIV_PRINTF(2, 3) int KIV_CALL
    zu_log_warn(zu_log* log, const char* format, ...) KIV_NOEXCEPT;
KIV_API KIV_PRINTF(2, 3) int KIV_CALL
    zu_log_error(zu_log* log, const char* format, ...) KIV_NOEXCEPT;

/* ---- Console trace -------------------------------------------------------------------------
 *
 * One trace file for the process, "zu_console.txt" in the current directory, enabled from the
 * start. It is opened and truncated by the first print after the start and after each
 * zu_console_Setup. Every message is flushed; a message is truncated to 20480 bytes. */

/* Enables the trace. Always returns 1. The name is accepted only for compatibility: the file is
 * always "zu_console.txt". */
KIV_API int KIV_CALL zu_console_Setup(const char* name) KIV_NOEXCEPT;

/* Disables the trace and closes its file. Always returns 1. */
KIV_API int KIV_CALL zu_console_Free(void) KIV_NOEXCEPT;

/* Disables the trace, closes its file and frees its memory. Returns the result of closing the file
 * (0 on success), or 0 if none was open. */
KIV_API int KIV_CALL zu_console_Shutdown(void) KIV_NOEXCEPT;

/* Writes the formatted message. Returns 0 if the trace is disabled, if `format` is NULL or if out
 * of memory; otherwise 1, even if the file cannot be opened. */
KIV_API KIV_PRINTF(1, 2) int KIV_CALL zu_console_printf(const char* format, ...) KIV_NOEXCEPT;

/* ---- Strings ------------------------------------------------------------------------------------
 *
 * Case folding and the test for digits use ASCII, whatever the locale. */

/* Copies up to the terminator or `n` bytes, then terminates; deliberately writes up to n + 1 bytes.
 * A NULL source counts as an empty string, a negative n as 0. */
KIV_API void KIV_CALL zu_strncpy(char* destination, const char* source, int32_t n) KIV_NOEXCEPT;

/* Returns the number of bytes before the terminator; 0 for NULL. */
KIV_API uint32_t KIV_CALL zu_strlen(const char* text) KIV_NOEXCEPT;

/* Compares two strings as unsigned bytes. Returns a negative number, 0 or a positive number
 * (zu_strcmp: -1, 0 or 1). The i forms fold case; the n forms compare at most n bytes, none if n is
 * negative. A pointer always equals itself, NULL included; NULL sorts before every string, even the
 * empty one. */
KIV_API int KIV_CALL zu_strcmp(const char* a, const char* b) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stricmp(const char* a, const char* b) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_strncmp(const char* a, const char* b, int32_t n) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_strnicmp(const char* a, const char* b, int32_t n) KIV_NOEXCEPT;

/* Returns the first occurrence of a character (the i form folds case), or NULL. The terminator is
 * never found. */
KIV_API char* KIV_CALL zu_strchr(const char* text, int character) KIV_NOEXCEPT;
KIV_API char* KIV_CALL zu_strichr(const char* text, int character) KIV_NOEXCEPT;

/* Returns the first occurrence of a string (the i form folds case), or NULL. An empty needle is
 * found at the start. */
KIV_API char* KIV_CALL zu_strstr(const char* haystack, const char* needle) KIV_NOEXCEPT;
KIV_API char* KIV_CALL zu_stristr(const char* haystack, const char* needle) KIV_NOEXCEPT;

/* Returns the index of the first occurrence of `key` in `text`, or -1. An empty key is not
 * found. */
KIV_API int32_t KIV_CALL zu_FindKey(const char* key, const char* text) KIV_NOEXCEPT;

/* Return a newly allocated string, to be freed with _zu_free: a copy; a copy of at most n bytes (in
 * a block of n + 1); two or three strings joined. Each returns NULL for a NULL argument, a negative
 * n or if out of memory. */
KIV_API char* KIV_CALL zu_strdup(const char* text) KIV_NOEXCEPT;
KIV_API char* KIV_CALL zu_strndup(const char* text, int32_t n) KIV_NOEXCEPT;
KIV_API char* KIV_CALL zu_strdup2(const char* a, const char* b) KIV_NOEXCEPT;
KIV_API char* KIV_CALL zu_strdup3(const char* a, const char* b, const char* c) KIV_NOEXCEPT;

/* Returns a newly allocated copy of `length` bytes followed by a terminator; NULL as above. */
KIV_API void* KIV_CALL zu_memdup(const void* bytes, int32_t length) KIV_NOEXCEPT;

/* Returns a newly allocated string: the first n bytes, or all if the string is shorter, in reverse.
 * Returns NULL if that is empty. */
KIV_API char* KIV_CALL zu_strreverse(const char* text, int32_t n) KIV_NOEXCEPT;

/* Returns a newly allocated string: the part after the last slash or backslash. Returns NULL if
 * that is empty. */
KIV_API char* KIV_CALL zu_GetFilenameFromPath(const char* path) KIV_NOEXCEPT;

/* Replaces `old_length` bytes at `position` of a string, in place; the caller provides room for
 * growth. Does nothing if a number is negative or the range exceeds the string. zu_strreplace1
 * takes a terminated replacement; NULL means an empty one. */
KIV_API void KIV_CALL zu_strreplace(char* text, int32_t position, int32_t old_length,
                                    const char* replacement,
                                    int32_t replacement_length) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_strreplace1(char* text, int32_t position, int32_t old_length,
                                     const char* replacement) KIV_NOEXCEPT;

/* Replaces the bytes [start, end) of a buffer that holds `length` bytes, in place; both ends
 * are clipped to the length. If the content grows, the byte at index `length` is moved too, so
 * the buffer must have room for it. Returns the replacement's length, from which the caller
 * computes the new length; returns 0 and changes nothing if that length is below 1 or another
 * number is negative. */
KIV_API int32_t KIV_CALL zu_memreplace(void* buffer, int32_t length, int32_t start, int32_t end,
                                       const void* replacement,
                                       int32_t replacement_length) KIV_NOEXCEPT;

/* Compares an element of a sorted array with a key. Returns a negative number, 0 or a
 * positive number. */
typedef int(KIV_CALL* zu_sort_compare_fn)(const void* element, const void* key);

/* Searches a sorted array of `count` elements of `size` bytes by bisection. Returns 1 if found;
 * `index`, unless NULL, then receives the position (any one of several equal elements). Returns 0
 * if not found, for a NULL array or comparison, and for a size or count below 1. */
KIV_API int KIV_CALL zu_SortFind(const void* base, int32_t size, int32_t count, const void* key,
                                 zu_sort_compare_fn compare, int32_t* index) KIV_NOEXCEPT;

/* Parses four decimal components below 256, separated by dots; the first becomes the highest byte.
 * The parser is lenient: an empty component counts as 0, and anything after the fourth component,
 * or after its third digit, is ignored. Returns 1; or 0 with part of the value stored. */
KIV_API int KIV_CALL zu_IP_to_32bits(uint32_t* value, const char* text) KIV_NOEXCEPT;

/* Parses a decimal number after leading white space, with an optional sign. It ends at the first
 * other character and saturates at the limits of the type. Returns 0 for NULL. */
KIV_API int64_t KIV_CALL zu_str_to_longlong(const char* text) KIV_NOEXCEPT;

/* Writes the value in decimal (at most 21 bytes with the terminator). Returns the buffer;
 * NULL for NULL. */
KIV_API char* KIV_CALL zu_longlong_to_str(int64_t value, char* buffer) KIV_NOEXCEPT;

/* Always returns 0: no string is recognised as GB 2312. */
KIV_API int KIV_CALL zu_isGB2312(const char* text) KIV_NOEXCEPT;

/* ---- Whole files --------------------------------------------------------------------------- */

/* Appends bytes to a file, creating it if it is missing. Returns 1, or 0 if not everything
 * was written. */
KIV_API int KIV_CALL zu_AppendFile(const char* path, const void* bytes,
                                   int32_t length) KIV_NOEXCEPT;

/* Deletes a file. Returns 0 on success, else a non-zero value, like the standard function
 * remove(). */
KIV_API int KIV_CALL zu_DeleteFile(const char* path) KIV_NOEXCEPT;

/* Reads up to `maximum` bytes from the start of a file. Returns the number of bytes, also 0
 * for a maximum below 1; returns -1 for NULL or if the file cannot be opened or read (a
 * directory cannot). */
KIV_API int32_t KIV_CALL zu_GetFileContent(const char* path, void* buffer,
                                           int32_t maximum) KIV_NOEXCEPT;

/* Reads up to `size` - 1 bytes and terminates them. Returns 1; or 0, with the buffer untouched, if
 * the file cannot be opened or the size is below 1. */
KIV_API int KIV_CALL zu_GetTextFileContent(const char* path, char* buffer,
                                           int32_t size) KIV_NOEXCEPT;

/* ---- Time ---------------------------------------------------------------------------------- */

/* Seconds since 1970-01-01 UTC, and microseconds within the second. */
typedef struct zu_timeval {
  int32_t seconds;
  int32_t microseconds;
} zu_timeval;

/* Returns the microseconds since 1970-01-01 UTC, from the system clock. */
KIV_API int64_t KIV_CALL zu_timenow(void) KIV_NOEXCEPT;

/* Stores the same time as a pair. Returns its microseconds; 0 for NULL. */
KIV_API int32_t KIV_CALL zu_gettimeofday(zu_timeval* now) KIV_NOEXCEPT;

/* Suspends the calling thread. */
KIV_API void KIV_CALL zu_sleep(uint32_t milliseconds) KIV_NOEXCEPT;

#endif
