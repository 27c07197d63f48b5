/* The runtime that every family stands on: set-up, locks, the registry of live objects, memory,
 * logs and the console trace, texts, files and time.
 *
 *   kiv_Setup();
 *   zu_log* log = zu_log_malloc("service.log");
 *   zu_log_notice(log, "started with %d workers\n", 4);
 *   zu_log_free(log);
 *   kiv_Shutdown();
 *
 * Threads: locks, the object registry, allocation, logs and the console may be used by any thread
 * at any time. A memory pool belongs to one thread at a time. The text, file and time helpers keep
 * no state. Stop the threads that use the library before a shut-down: it waits for operations that
 * run on registered objects, but every handle is unknown afterwards and no object can be freed.
 * Threads of the library that were told to end may do so later, and hold the library until then.
 */
#ifndef KIV_BASE_BASE_H
#define KIV_BASE_BASE_H

#include "kiv_base/export.h"

/* ---- Set-up and shut-down ------------------------------------------------------------------ */

/* Brings up the process-wide services: sockets, the console trace, the registries of boxes, of
 * live objects and of big boxes. Each also sets itself up on first use, so this only does early
 * what would happen anyway. Always 1. */
KIV_API int KIV_CALL kiv_Setup(void) KIV_NOEXCEPT;

/* Takes the services down again. Objects still alive are not freed; their handles are unknown from
 * here on. Returns the result of zu_console_Shutdown. A later kiv_Setup starts afresh. */
KIV_API int KIV_CALL kiv_Shutdown(void) KIV_NOEXCEPT;

/* ---- Locks --------------------------------------------------------------------------------- */

/* A recursive lock. The storage holds the system's own lock object; `state` is 1 while the lock is
 * usable and -1 before initialisation and after destruction. */
typedef struct zu_sem {
  void* section[sizeof(void*) == 4 ? 6 : 5];
  int32_t state;
} zu_sem;

/* Makes the lock of the caller's record usable. The two names are one function. */
KIV_API void KIV_CALL zu_sem_init(zu_sem* record) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_sem_init_ex(zu_sem* record) KIV_NOEXCEPT;

/* A new lock, as the address of its zu_sem; 0 when memory runs out. */
KIV_API uintptr_t KIV_CALL zu_sem_malloc(void) KIV_NOEXCEPT;

/* Destroys and releases a lock of zu_sem_malloc. 0 is ignored. */
KIV_API void KIV_CALL zu_sem_free(uintptr_t handle) KIV_NOEXCEPT;

/* Takes the lock, waiting for it; releases it once. A thread may take a lock it already holds and
 * releases it as often. 1 when done, 0 at once when the record's state is not 1. */
KIV_API int KIV_CALL zu_sem_lock(uintptr_t handle) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sem_unlock(uintptr_t handle) KIV_NOEXCEPT;

/* Ends the use of the lock, which nobody may hold or wait for. 0 when the state is not 1. */
KIV_API int KIV_CALL zu_sem_destroy(zu_sem* record) KIV_NOEXCEPT;

/* ---- Registry of live objects --------------------------------------------------------------
 *
 * One process-wide set of the addresses of live upper-layer objects under one lock, which
 * serialises every operation on all of them. An operation on a handle goes
 *
 *   if (__kiv_sem_lock(handle) == 0) return 0;   // freed, or never one of ours: touch nothing
 *   ...
 *   __kiv_sem_unlock();
 *
 * The lock is recursive and is taken before that of any box, never after it. Every function but
 * __kiv_sem_unlock sets the registry up when it is absent. The registry never looks into the
 * objects and never frees them. An address that has been handed out again by the heap is live
 * again: a stale handle is recognised only until then. The library's own objects are known by their
 * type as well, and their operations refuse any other address that is registered. */

/* 1 when the registry is there afterwards, 0 when memory runs out. */
KIV_API int KIV_CALL kiv_sem_Setup(void) KIV_NOEXCEPT;

/* Forgets all addresses. A caller that holds the registry's lock no longer holds it afterwards. */
KIV_API void KIV_CALL kiv_sem_Shutdown(void) KIV_NOEXCEPT;

/* Registers the address; 1 when it is registered afterwards, also when it was before. 0 for NULL
 * and when memory runs out. */
KIV_API int KIV_CALL __kiv_sem_insert(void* object) KIV_NOEXCEPT;

/* Is the address registered? The answer may be stale when it arrives: see __kiv_sem_lock. */
KIV_API int KIV_CALL __kiv_sem_check(void* object) KIV_NOEXCEPT;

/* 1 with the registry's lock held when the address is registered, else 0 with the lock free. */
KIV_API int KIV_CALL __kiv_sem_lock(void* object) KIV_NOEXCEPT;

/* Releases what one successful __kiv_sem_lock of this thread took. 0, with nothing released, when
 * there is none left, as after a shut-down. */
KIV_API int KIV_CALL __kiv_sem_unlock(void) KIV_NOEXCEPT;

/* Takes the address out. Unknown addresses are ignored. */
KIV_API void KIV_CALL __kiv_sem_remove(void* object) KIV_NOEXCEPT;

/* ---- Memory -------------------------------------------------------------------------------- */

/* `count` bytes from the process heap, not zeroed. NULL for 0, for negative counts and when memory
 * runs out. */
KIV_API void* KIV_CALL _zu_malloc(int32_t count) KIV_NOEXCEPT;

/* Resizes a block of _zu_malloc, or makes one when `block` is NULL. A count of 0 frees the block
 * and gives NULL. On any other NULL the old block stays. */
KIV_API void* KIV_CALL _zu_realloc(void* block, uint32_t count) KIV_NOEXCEPT;

/* Gives memory that the library handed out back to the heap. NULL is ignored. */
KIV_API void KIV_CALL _zu_free(void* block) KIV_NOEXCEPT;

/* Does nothing; a place for memory statistics. */
KIV_API void KIV_CALL _zu_minfo(void) KIV_NOEXCEPT;

/* ---- Memory pool ---------------------------------------------------------------------------
 *
 * A next-fit allocator over one region of the caller, who keeps the region until the last use and
 * frees it himself. The handle is the region's address. 24 bytes go to the pool's own record, and
 * each block has a header of 9 bytes directly before its payload. Nothing is aligned: values wider
 * than a byte are stored with memcpy. Not locked. */

/* Formats `size` bytes at `region` as a pool with one free block; discards every allocation that
 * was in it. NULL when the region is NULL or the size below 34. */
KIV_API void* KIV_CALL zu_mem_init(void* region, uint32_t size) KIV_NOEXCEPT;

/* `count` bytes of the pool, or NULL when no free block is large enough. A block that would leave
 * nothing usable behind is handed out whole, up to 9 bytes larger than asked for. Linear in the
 * blocks between the last allocation and the first fit. */
KIV_API void* KIV_CALL zu_mem_malloc(void* pool, uint32_t count) KIV_NOEXCEPT;

/* Frees a block of the pool and joins it with free neighbours, in constant time. What is
 * recognisably no live block (out of bounds, freed before, a header that contradicts its
 * neighbours) is ignored. */
KIV_API void KIV_CALL zu_mem_free(void* pool, void* payload) KIV_NOEXCEPT;

/* 1 when the pointer is a live allocation of this pool, proved by walking its blocks. `size`, when
 * not NULL, receives the block's payload size. */
KIV_API int KIV_CALL zu_mem_is_valid_ext_(void* pool, const void* payload,
                                          uint32_t* size) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_mem_is_valid(void* pool, const void* payload) KIV_NOEXCEPT;

/* Sizes of the largest blocks and numbers of blocks. Each output may be NULL; all are 0 for a NULL
 * or destroyed pool. */
KIV_API void KIV_CALL zu_mem_info(void* pool, uint32_t* largest_used, uint32_t* largest_free,
                                  uint32_t* used_blocks, uint32_t* free_blocks) KIV_NOEXCEPT;

/* Disables the pool: later calls fail or do nothing. The region stays with its owner. */
KIV_API void KIV_CALL zu_mem_destroy(void* pool) KIV_NOEXCEPT;

/* Prints every block on standard output. */
KIV_API void KIV_CALL zu_mem_print(void* pool) KIV_NOEXCEPT;

/* ---- Logs ----------------------------------------------------------------------------------
 *
 * A log appends to its file and flushes every message, so that it is on disk when the call
 * returns. Threads may share a log: messages never mix. No line end is added. A message longer
 * than 102400 bytes, time stamp and prefix included, is cut there. */

typedef struct zu_log {
  char path[261];
  void* file; /* a FILE* of the library's own C runtime; NULL when closed */
  zu_sem lock;
  char* buffer;
} zu_log;

/* Opens `path` (its first 260 characters) for appending in the caller's record. 0 when the file
 * cannot be opened or memory runs out; zu_log_destroy is right after either. */
KIV_API int KIV_CALL zu_log_init(zu_log* log, const char* path) KIV_NOEXCEPT;

/* A new log on `path`, for zu_log_free; NULL when zu_log_init fails. */
KIV_API zu_log* KIV_CALL zu_log_malloc(const char* path) KIV_NOEXCEPT;

/* Closes the file and releases the rest; zu_log_free also releases a log of zu_log_malloc. No
 * other thread may still use the log. */
KIV_API void KIV_CALL zu_log_destroy(zu_log* log) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_log_free(zu_log* log) KIV_NOEXCEPT;

/* Writes the formatted text as it is. 1, or 0 for a NULL argument or a destroyed log. */
KIV_API KIV_PRINTF(2, 3) int KIV_CALL
    zu_log_printf(zu_log* log, const char* format, ...) KIV_NOEXCEPT;

/* The same behind the local time and a severity: "2009-03-07 09:05:01 warn: ". */
KIV_API KIV_PRINTF(2, 3) int KIV_CALL
    zu_log_notice(zu_log* log, const char* format, ...) KIV_NOEXCEPT;
KIV_API KIV_PRINTF(2, 3) int KIV_CALL
    zu_log_warn(zu_log* log, const char* format, ...) KIV_NOEXCEPT;
KIV_API KIV_PRINTF(2, 3) int KIV_CALL
    zu_log_error(zu_log* log, const char* format, ...) KIV_NOEXCEPT;

/* ---- Console trace -------------------------------------------------------------------------
 *
 * One trace file of the process, "zu_console.txt" in the current directory, enabled from the
 * start. It is opened, and emptied, by the first print after the start and after each
 * zu_console_Setup. Every message is flushed; 20480 bytes at most. */

/* Enables the trace. The name is taken for compatibility only: the file is always
 * "zu_console.txt". 1. */
KIV_API int KIV_CALL zu_console_Setup(const char* name) KIV_NOEXCEPT;

/* Disables the trace and closes its file. 1. */
KIV_API int KIV_CALL zu_console_Free(void) KIV_NOEXCEPT;

/* Disables the trace, closes its file and releases its memory. Returns what closing the file gave
 * (0 when done), 0 when none was open. */
KIV_API int KIV_CALL zu_console_Shutdown(void) KIV_NOEXCEPT;

/* Writes the formatted text. 0 while disabled, for a NULL format or without memory, else 1, also
 * when the file cannot be opened. */
KIV_API KIV_PRINTF(1, 2) int KIV_CALL zu_console_printf(const char* format, ...) KIV_NOEXCEPT;

/* ---- Texts ---------------------------------------------------------------------------------
 *
 * Case is folded and digits are told in ASCII, whatever the locale. */

/* Copies up to the terminator or `n` bytes, then terminates: deliberately writes up to n + 1
 * bytes. A NULL source counts as an empty one; a negative n as 0. */
KIV_API void KIV_CALL zu_strncpy(char* destination, const char* source, int32_t n) KIV_NOEXCEPT;

/* Bytes before the terminator; 0 for NULL. */
KIV_API uint32_t KIV_CALL zu_strlen(const char* text) KIV_NOEXCEPT;

/* Compare as unsigned bytes: below, at or above 0 (zu_strcmp: -1, 0 or 1). The i forms fold case,
 * the n forms compare at most n bytes, none when n is negative. One pointer given twice is equal,
 * NULL included; NULL sorts before every text, the empty one too. */
KIV_API int KIV_CALL zu_strcmp(const char* a, const char* b) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_stricmp(const char* a, const char* b) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_strncmp(const char* a, const char* b, int32_t n) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_strnicmp(const char* a, const char* b, int32_t n) KIV_NOEXCEPT;

/* First occurrence of a character (the i form folds case), or NULL. The terminator is not found. */
KIV_API char* KIV_CALL zu_strchr(const char* text, int character) KIV_NOEXCEPT;
KIV_API char* KIV_CALL zu_strichr(const char* text, int character) KIV_NOEXCEPT;

/* First occurrence of a text (the i form folds case), or NULL. An empty needle is found at the
 * start. */
KIV_API char* KIV_CALL zu_strstr(const char* haystack, const char* needle) KIV_NOEXCEPT;
KIV_API char* KIV_CALL zu_stristr(const char* haystack, const char* needle) KIV_NOEXCEPT;

/* Index of the first occurrence of `key` in `text`, or -1. An empty key is not found. */
KIV_API int32_t KIV_CALL zu_FindKey(const char* key, const char* text) KIV_NOEXCEPT;

/* New texts, for _zu_free: a copy; a copy of at most n bytes (in a block of n + 1); two or three
 * texts joined. NULL for a NULL argument, a negative n or when memory runs out. */
KIV_API char* KIV_CALL zu_strdup(const char* text) KIV_NOEXCEPT;
KIV_API char* KIV_CALL zu_strndup(const char* text, int32_t n) KIV_NOEXCEPT;
KIV_API char* KIV_CALL zu_strdup2(const char* a, const char* b) KIV_NOEXCEPT;
KIV_API char* KIV_CALL zu_strdup3(const char* a, const char* b, const char* c) KIV_NOEXCEPT;

/* A new copy of `length` bytes with a terminator behind them. NULL as above. */
KIV_API void* KIV_CALL zu_memdup(const void* bytes, int32_t length) KIV_NOEXCEPT;

/* A new text: the first n bytes, or fewer where the text ends, in reverse. NULL when that is
 * nothing. */
KIV_API char* KIV_CALL zu_strreverse(const char* text, int32_t n) KIV_NOEXCEPT;

/* A new text: what follows the last slash or back-slash. NULL when that is nothing. */
KIV_API char* KIV_CALL zu_GetFilenameFromPath(const char* path) KIV_NOEXCEPT;

/* Replaces `old_length` bytes at `position` of a text, in place; the caller has room for growth.
 * Nothing happens when a number is negative or the range leaves the text. zu_strreplace1 takes a
 * terminated replacement, NULL meaning none. */
KIV_API void KIV_CALL zu_strreplace(char* text, int32_t position, int32_t old_length,
                                    const char* replacement,
                                    int32_t replacement_length) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_strreplace1(char* text, int32_t position, int32_t old_length,
                                     const char* replacement) KIV_NOEXCEPT;

/* Replaces the bytes [start, end) of a buffer holding `length` bytes, in place; both ends are
 * clipped to the length. On growth the byte at index `length` moves too, so the buffer has room
 * for it. Returns the replacement's length, the new length being the caller's to work out; 0 with
 * nothing changed when that length is below 1 or another number is negative. */
KIV_API int32_t KIV_CALL zu_memreplace(void* buffer, int32_t length, int32_t start, int32_t end,
                                       const void* replacement,
                                       int32_t replacement_length) KIV_NOEXCEPT;

/* Compares an element of a sorted array with a key: negative, 0 or positive. */
typedef int(KIV_CALL* zu_sort_compare_fn)(const void* element, const void* key);

/* Binary search in a sorted array of `count` elements of `size` bytes. 1 when found; `index`, when
 * not NULL, then receives the position, of several equal ones that of any. 0 when not found, for a
 * NULL array or comparison, and for a size or count below 1. */
KIV_API int KIV_CALL zu_SortFind(const void* base, int32_t size, int32_t count, const void* key,
                                 zu_sort_compare_fn compare, int32_t* index) KIV_NOEXCEPT;

/* Reads four decimal components below 256 with dots between them; the first one becomes the
 * highest byte. Lenient: an empty component is 0, and what follows the fourth, or its third digit,
 * is ignored. 1, or 0 with a part of the value stored. */
KIV_API int KIV_CALL zu_IP_to_32bits(uint32_t* value, const char* text) KIV_NOEXCEPT;

/* The decimal number after leading white space, with an optional sign; it ends at the first other
 * character and stops at the limits of the type. 0 for NULL. */
KIV_API int64_t KIV_CALL zu_str_to_longlong(const char* text) KIV_NOEXCEPT;

/* Writes the value in decimal (at most 21 bytes with the terminator). Returns the buffer;
 * NULL for NULL. */
KIV_API char* KIV_CALL zu_longlong_to_str(int64_t value, char* buffer) KIV_NOEXCEPT;

/* Always 0: no text is taken for GB 2312. */
KIV_API int KIV_CALL zu_isGB2312(const char* text) KIV_NOEXCEPT;

/* ---- Whole files --------------------------------------------------------------------------- */

/* Appends bytes to a file, which is made when missing. 1, or 0 when not everything was written. */
KIV_API int KIV_CALL zu_AppendFile(const char* path, const void* bytes,
                                   int32_t length) KIV_NOEXCEPT;

/* Removes a file: 0 when done, else non-zero, as the standard function. */
KIV_API int KIV_CALL zu_DeleteFile(const char* path) KIV_NOEXCEPT;

/* Reads up to `maximum` bytes from the start. Number of bytes, 0 also for a maximum below 1;
 * -1 when the file cannot be opened or read, as a directory cannot, and for NULL. */
KIV_API int32_t KIV_CALL zu_GetFileContent(const char* path, void* buffer,
                                           int32_t maximum) KIV_NOEXCEPT;

/* Reads up to `size` - 1 bytes and terminates them. 1, or 0 with the buffer untouched when the
 * file cannot be opened or the size is below 1. */
KIV_API int KIV_CALL zu_GetTextFileContent(const char* path, char* buffer,
                                           int32_t size) KIV_NOEXCEPT;

/* ---- Time ---------------------------------------------------------------------------------- */

/* Seconds since 1970-01-01 UTC and microseconds of the second. */
typedef struct zu_timeval {
  int32_t seconds;
  int32_t microseconds;
} zu_timeval;

/* Microseconds since 1970-01-01 UTC, by the system clock. */
KIV_API int64_t KIV_CALL zu_timenow(void) KIV_NOEXCEPT;

/* The same as a pair. Returns its microseconds; 0 for NULL. */
KIV_API int32_t KIV_CALL zu_gettimeofday(zu_timeval* now) KIV_NOEXCEPT;

/* Suspends the calling thread. */
KIV_API void KIV_CALL zu_sleep(uint32_t milliseconds) KIV_NOEXCEPT;

#endif
