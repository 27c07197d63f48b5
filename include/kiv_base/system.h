/* What programs need besides the network: configuration files, wildcard patterns, dates, process
 * functions, files and directories, services.
 *
 *   zu_config* config = zu_config_make("service.conf");
 *   const char* port = zu_config_GetKey(config, "listen", "port");
 *   zu_config_SetKey(config, "listen", "port", "8080");
 *   zu_config_SaveToFile(config, "service.conf");
 *   zu_config_free(config);
 *
 * Threads: use a configuration from one thread at a time. A pattern never changes after it is
 * created, so any number of threads may match with it. All other functions may be called from
 * any thread. */
#ifndef KIV_BASE_SYSTEM_H
#define KIV_BASE_SYSTEM_H

#include "kiv_base/export.h"

/* ---- Configuration files ---------------------------------------------------------------------
 *
 * Groups of keys in a text file, kept as separate pieces, so that whatever was not changed is
 * written back byte for byte: comments, blank lines, spacing, and unrecognised lines.
 *
 *   ; a comment, to the end of the line; so are # and //
 *   [group]                   the name extends to the next "]"
 *   key = value               the value is " value": everything after "=", to the end of the line
 *
 * A slash and an asterisk start a comment that ends with an asterisk and a slash. A line whose key
 * is not followed by "=", or that starts with "=" or with a single "/", is skipped. A key ends at a
 * space, tab or "=". Groups with the same name are one group, and the last of several equal keys
 * counts. A key before the first group, or below a group without a name, can be neither found nor
 * changed. A UTF-8 byte order mark at the start is skipped and kept.
 *
 * All functions accept NULL for any argument and then return 0 or NULL. Names are compared byte by
 * byte, and empty names are invalid. String arguments are copied and written as they are: a line
 * end in a value, a space or "=" in a key, or a "]" in a group's name produces a file that reads
 * back as something else. Strings that a function returns are owned by the configuration and valid
 * until that key or group is changed, removed or freed. */
typedef struct zu_config zu_config;

/* A key and its value. */
typedef struct zu_config_entry {
  const char* key;
  const char* value;
} zu_config_entry;

/* Parses a file, or a string in memory; NULL creates an empty configuration. Returns NULL if
 * the file cannot be read (a pipe, device or socket cannot), if it is 2 GiB or longer, or if
 * out of memory. */
KIV_API zu_config* KIV_CALL zu_config_make(const char* file_name) KIV_NOEXCEPT;
KIV_API zu_config* KIV_CALL zu_config_make1(const char* text) KIV_NOEXCEPT;

/* Frees the configuration and all strings that it returned. Nothing is saved. */
KIV_API void KIV_CALL zu_config_free(zu_config* config) KIV_NOEXCEPT;

/* Returns the value, including leading spaces; NULL if there is none. See __GetProfileString. */
KIV_API const char* KIV_CALL zu_config_GetKey(zu_config* config, const char* group,
                                              const char* key) KIV_NOEXCEPT;

/* Returns 1 if the key or group exists, else 0. */
KIV_API int KIV_CALL zu_config_IsKeyExist(zu_config* config, const char* group,
                                          const char* key) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_config_IsGroupExist(zu_config* config, const char* group) KIV_NOEXCEPT;

/* Changes the value in place, or adds the key as the first line of its group; a missing group is
 * added first. Returns 1; or 0, with nothing changed, on failure. */
KIV_API int KIV_CALL zu_config_SetKey(zu_config* config, const char* group, const char* key,
                                      const char* value) KIV_NOEXCEPT;

/* Adds a group at the end unless it exists. Returns 1; or 0, with nothing changed, if out
 * of memory. */
KIV_API int KIV_CALL zu_config_SetGroup(zu_config* config, const char* group) KIV_NOEXCEPT;

/* Removes every occurrence of a key in its group, with the line ends that follow its value,
 * including those of blank lines. Returns 1, or 0 if the key does not exist. */
KIV_API int KIV_CALL zu_config_UnsetKey(zu_config* config, const char* group,
                                        const char* key) KIV_NOEXCEPT;

/* Removes every header of the group and the lines of its keys; comments and blank lines stay.
 * Removing a group that was added restores the previous content. Returns 1, or 0 if the group does
 * not exist. */
KIV_API int KIV_CALL zu_config_UnsetGroup(zu_config* config, const char* group) KIV_NOEXCEPT;

/* Renames every header of the group. Returns 1; or 0, with nothing changed, if `group` does not
 * exist or `new_name` does. */
KIV_API int KIV_CALL zu_config_RenameGroup(zu_config* config, const char* group,
                                           const char* new_name) KIV_NOEXCEPT;

/* Iterate over the groups, or the keys of one group, in the order of their names as unsigned bytes.
 * _Rewind records what exists; _GetFirst does so too and returns the first item, _GetNext the next.
 * Items that are removed in the meantime are no longer returned, nor are items that are added
 * later; any change is allowed in between. A configuration has one iteration of groups and one of
 * keys at a time.
 *
 * _Rewind returns 1, or 0 if there is no such group; the others return 1 with the outputs set, or 0
 * at the end. An output may be NULL. zu_config_KeyGetFirst stores a pointer to the pair in both
 * outputs, whereas zu_config_KeyGetNext stores the two strings. */
KIV_API int KIV_CALL zu_config_GroupRewind(zu_config* config) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_config_GroupGetFirst(zu_config* config, const char** group) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_config_GroupGetNext(zu_config* config, const char** group) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_config_KeyRewind(zu_config* config, const char* group) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_config_KeyGetFirst(zu_config* config, const char* group,
                                           const zu_config_entry** key,
                                           const zu_config_entry** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_config_KeyGetNext(zu_config* config, const char** key,
                                          const char** value) KIV_NOEXCEPT;

/* Returns the whole content as a newly allocated string; NULL if it is 2 GiB or longer, or if out
 * of memory. */
KIV_API char* KIV_CALL zu_config_ToString(zu_config* config) KIV_NOEXCEPT;

/* Writes the whole content to a file atomically: to a temporary file beside it, which is then
 * renamed, so that a full disk or a crash leaves the old content; if several save at once, one of
 * them wins. Returns 1; or 0 with the file unchanged, and for a pipe, device or socket. On Windows
 * it also fails while another program has the file open. */
KIV_API int KIV_CALL zu_config_SaveToFile(zu_config* config, const char* file_name) KIV_NOEXCEPT;

/* Returns a value without its quotes, as a newly allocated string: the part between a double quote
 * at its start, after spaces and tabs, and one at its end, before spaces, tabs, ";" and ",". If the
 * first or the last quote is missing, the characters on that side are kept. Returns an empty string
 * for NULL; returns NULL if out of memory. */
KIV_API char* KIV_CALL __GetProfileString(const char* value) KIV_NOEXCEPT;

/* ---- Patterns --------------------------------------------------------------------------------
 *
 * "*" matches any bytes, including none, and "?" matches one byte. They cannot be quoted.
 *
 *   zu_pattern* pattern = zu_pattern_make("*.txt");
 *   zu_pattern_match_istring(pattern, "A.TXT");       // 1
 *   zu_pattern_free(pattern);
 */
typedef struct zu_pattern {
  int32_t match_type;  /* 0 general, 1 general from the tail, 2 text*, 3 *text, 4 text */
  uint32_t length;     /* of `text` */
  uint32_t min_length; /* of a string that can match */
  uint32_t max_length; /* all bits set if there is a "*" */
  char* text;          /* "?" before the "*" beside it, one "*" for several; backwards in type 1,
                        * without the "*" in types 2 and 3 */
} zu_pattern;

/* Creates a pattern. Returns NULL for NULL, for 2 GiB or if out of memory. */
KIV_API zu_pattern* KIV_CALL zu_pattern_make(const char* text) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_pattern_free(zu_pattern* pattern) KIV_NOEXCEPT;

/* Returns 1 if both have the same type, length and text, else 0. */
KIV_API int KIV_CALL zu_pattern_equal(const zu_pattern* a, const zu_pattern* b) KIV_NOEXCEPT;

/* Returns 1 if the pattern matches all `length` bytes of `text`, else 0; 0 for NULL. Case matters
 * if `match_case` is not 0, and always in patterns of types 0 and 1. `reversed`, which may be NULL,
 * is used instead by a pattern of type 1: the same bytes in reverse. Takes at most time
 * proportional to the product of the two lengths, and allocates nothing. */
KIV_API int KIV_CALL zu_pattern_match(const zu_pattern* pattern, uint32_t length, const char* text,
                                      const char* reversed, int match_case) KIV_NOEXCEPT;

/* Does the same for a terminated string, with case or, in the i form, without. The simple forms
 * create the pattern and free it again. */
KIV_API int KIV_CALL zu_pattern_match_string(const zu_pattern* pattern,
                                             const char* text) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_pattern_match_istring(const zu_pattern* pattern,
                                              const char* text) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_pattern_match_simple(const char* pattern, const char* text) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_pattern_match_isimple(const char* pattern, const char* text) KIV_NOEXCEPT;

/* ---- Dates -----------------------------------------------------------------------------------
 *
 * Names of days and months are English, whatever the locale. */

/* Seconds since 1970-01-01 UTC: 4 bytes where pointers have 4, else 8. */
typedef intptr_t zu_time;

/* Parses a date as used in headers and cookies, in one of the forms
 *
 *   [Sun, ]06 Nov 1994 08:49:37 GMT          also 06-Nov-1994
 *   08:49:37 GMT 06 Nov 1994                 also 06-Nov-1994
 *   Sun Nov  6 08:49:37 GMT 1994
 *
 * with days and months in full or as three letters, in any case. Years 70 to 1900 count from 1900
 * and years below 70 from 2000. Deliberately read as local time in winter, whatever "GMT" says:
 * zu_GetGMTString writes local time as well. Numbers beyond their range carry over (32 Jan is 1
 * Feb). Returns -1 if no form matches, or if the system's calendar, which on Windows starts in
 * 1970, or zu_time cannot represent the time. */
KIV_API zu_time KIV_CALL zu_DateParse(const char* text) KIV_NOEXCEPT;

/* Returns "Sun, 06 Nov 1994 08:49:37 GMT" as a newly allocated string. Deliberately the local
 * time, despite its label. Returns NULL if the system's calendar cannot represent the time, or if
 * out of memory. */
KIV_API char* KIV_CALL zu_GetGMTString(zu_time time) KIV_NOEXCEPT;

/* Writes the local time as "1994.11.06 - 08:49:37" to a buffer of at least 22 bytes. Returns the
 * number of characters; 0 for NULL. */
KIV_API int32_t KIV_CALL zu_GetLocalDate(char* buffer) KIV_NOEXCEPT;

/* Returns the hour (0 to 23) or the minute (0 to 59) of the local time. */
KIV_API int32_t KIV_CALL zu_GetCurrentTimeHH(void) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_GetCurrentTimeMM(void) KIV_NOEXCEPT;

/* ---- Process functions ----------------------------------------------------------------------- */

/* Returns a uniformly distributed number from 0 to INT32_MAX, from a generator that the system
 * seeds. Suitable for ids that should not repeat; predictable to an attacker, so never a secret. A
 * forked process has a sequence of its own. */
KIV_API int32_t KIV_CALL zu_RandomValue(void) KIV_NOEXCEPT;

/* Writes `count` letters and digits from the system's random source, hard to guess, and a zero: the
 * buffer has at least count + 1 bytes. Deliberately uneven: "z" never occurs, "I" to "O" and "Q" to
 * "V" occur twice as often as the others; 64 characters still hold 374 bits. Returns 1; 0 for NULL
 * or a negative count; and 0 with an empty string if the system provides no random bytes. */
KIV_API int KIV_CALL zu_RandomStr(char* buffer, int32_t count) KIV_NOEXCEPT;

/* Returns the system's id of the calling thread (not of the process, despite the name). */
KIV_API int32_t KIV_CALL zu_GetPid(void) KIV_NOEXCEPT;

/* ---- Files by path ---------------------------------------------------------------------------
 *
 * The paths of the families zu_file1, zu_file2, zu_dir1 and zu_file_mapped are UTF-8 on every
 * system; on Windows other bytes fail, "/" is accepted for "\", and a path may have the system's
 * full 32,767 characters. Links are followed unless stated otherwise. Sizes and positions have 64
 * bits; times are microseconds since 1970-01-01 UTC. NULL and empty paths return the failure value.
 * A failure prints nothing, unless the system cannot perform the operation at all. Any thread may
 * call. A pipe, device or socket has no content here: zu_file1 and zu_file_mapped return the
 * failure value for one immediately. It exists, and can be moved and deleted.
 *
 *   int64_t length;
 *   char* text = zu_file1_Read("notes.txt", &length);
 *   zu_file1_Write("copy.txt", text, length);
 *   _zu_free(text);
 */

/* Returns 1 if anything other than a directory exists at the path, else 0. */
KIV_API int KIV_CALL zu_file1_IsExist(const char* path) KIV_NOEXCEPT;

/* Returns the size of a file in bytes; -1 if there is none. */
KIV_API int64_t KIV_CALL zu_file1_GetSize(const char* path) KIV_NOEXCEPT;

/* Reads or sets the times at which a file or directory was last modified and last read. An output,
 * or an input that is not to be changed, may be NULL. Returns 1; or 0 with nothing set. Windows
 * keeps steps of 100 ns from 1601 on; other file systems have steps of up to two seconds. */
KIV_API int KIV_CALL zu_file1_GetTimes(const char* path, int64_t* modified_us,
                                       int64_t* accessed_us) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_file1_SetTimes(const char* path, const int64_t* modified_us,
                                       const int64_t* accessed_us) KIV_NOEXCEPT;

/* Copies the content to a new or existing file, which is written as by zu_file1_Write; a new file
 * gets the access rights of `from`. Returns 1, or 0 on failure. */
KIV_API int KIV_CALL zu_file1_Copy(const char* from, const char* to) KIV_NOEXCEPT;

/* Moves a file, or a link itself, and replaces an existing file at `to`. Atomic within one file
 * system; to another one, a file is copied and then deleted, and a link is not moved. Returns 1; or
 * 0, with `from` left where it was, also for a directory, and on Windows while a program has the
 * old file at `to` open. */
KIV_API int KIV_CALL zu_file1_Move(const char* from, const char* to) KIV_NOEXCEPT;

/* Deletes a file, even a read-only one, or a link itself. Returns 1, or 0 on failure; 0 for a
 * directory. */
KIV_API int KIV_CALL zu_file1_Delete(const char* path) KIV_NOEXCEPT;

/* Reads a whole file into a newly allocated block, followed by a zero that `length`, which may be
 * NULL, does not count. A file that grows meanwhile, or that has content but no size, is read to
 * its end. Returns NULL if it cannot be read, if it is 2 GiB or longer, or if out of memory. */
KIV_API char* KIV_CALL zu_file1_Read(const char* path, int64_t* length) KIV_NOEXCEPT;

/* Replaces the content of a file atomically: it is written to a temporary file beside it, flushed
 * to the disk and renamed, so that a full disk or a crash leaves the old content. Except on
 * Windows, the target of a link is replaced and not the link, and an existing file keeps its access
 * rights. If several write at once, one of them wins. Returns 1; or 0 with the file unchanged; on
 * Windows also 0 while a program has the file open. */
KIV_API int KIV_CALL zu_file1_Write(const char* path, const void* bytes,
                                    int64_t length) KIV_NOEXCEPT;

/* Appends to a file, which is created if it does not exist. Returns 1; or 0, possibly with part of
 * the bytes appended. */
KIV_API int KIV_CALL zu_file1_Append(const char* path, const void* bytes,
                                     int64_t length) KIV_NOEXCEPT;

/* ---- Files by handle -------------------------------------------------------------------------
 *
 *   zu_file2* file = zu_file2_open("data", ZU_FILE2_READ | ZU_FILE2_WRITE | ZU_FILE2_CREATE);
 *   if (zu_file2_lock(file)) zu_file2_write(file, "x", 1);
 *   zu_file2_close(file);
 *
 * A handle may be passed from thread to thread, but only one may use it at a time. Other handles
 * may have the file open in every mode, and it may be deleted meanwhile. A started program does not
 * inherit it. A forked process shares the position and the lock with its parent, and only the one
 * that acquired the lock can release it; to have its own, it opens the file again. */
typedef struct zu_file2 zu_file2;

enum {
  ZU_FILE2_READ = 1,
  ZU_FILE2_WRITE = 2,
  ZU_FILE2_APPEND = 4,     /* like _WRITE, but every write goes to the current end */
  ZU_FILE2_CREATE = 8,     /* creates a missing file; needs _WRITE or _APPEND, as do: */
  ZU_FILE2_TRUNCATE = 16,  /* truncates the file to 0 bytes */
  ZU_FILE2_EXCLUSIVE = 32, /* with _CREATE: fails if the path exists, even as a link */

  ZU_FILE2_BEGIN = 0, /* the origin of an offset */
  ZU_FILE2_CURRENT = 1,
  ZU_FILE2_END = 2
};

/* Opens a file. Returns NULL for an invalid mode, for directories, on failure, or if out of memory.
 * A pipe or device can be opened as well, without blocking: NULL for writing to a pipe that nobody
 * reads. Reading and writing it may block. */
KIV_API zu_file2* KIV_CALL zu_file2_open(const char* path, int mode) KIV_NOEXCEPT;

/* Closes the handle and releases its lock. Returns 1, or 0 if the system reports only now that
 * bytes were lost. */
KIV_API int KIV_CALL zu_file2_close(zu_file2* file) KIV_NOEXCEPT;

/* Reads from the position onwards. Returns the number of bytes, which is below `size` only at the
 * end of the file or before an error; 0 at the end; -1 on failure. */
KIV_API int64_t KIV_CALL zu_file2_read(zu_file2* file, void* buffer, int64_t size) KIV_NOEXCEPT;

/* Writes all the bytes at the position, and advances it. Returns 1; or 0, possibly with part of
 * them written. */
KIV_API int KIV_CALL zu_file2_write(zu_file2* file, const void* bytes, int64_t size) KIV_NOEXCEPT;

/* Moves the position, also beyond the end; a write there fills the gap with zeros. Returns the new
 * position from the beginning, or -1 with the position unchanged. _tell returns the position. */
KIV_API int64_t KIV_CALL zu_file2_seek(zu_file2* file, int64_t offset, int from) KIV_NOEXCEPT;
KIV_API int64_t KIV_CALL zu_file2_tell(zu_file2* file) KIV_NOEXCEPT;

/* Returns the file's size; -1 on failure. */
KIV_API int64_t KIV_CALL zu_file2_GetSize(zu_file2* file) KIV_NOEXCEPT;

/* Truncates the file or extends it with zeros. The position does not change. Returns 1, or 0
 * on failure. */
KIV_API int KIV_CALL zu_file2_truncate(zu_file2* file, int64_t size) KIV_NOEXCEPT;

/* Blocks until everything written is on the disk. Returns 1, or 0 on failure. */
KIV_API int KIV_CALL zu_file2_flush(zu_file2* file) KIV_NOEXCEPT;

/* Acquires or releases the file's one lock, shared by all handles of all processes; it is
 * advisory and does not prevent reading or writing. _lock blocks, _TryLock does not; the lock
 * ends with _unlock, the handle or the process. Returns 1, or 0: it is taken (_TryLock), this
 * handle holds it (both), does not hold it (_unlock), or the file system has no locks, in which
 * case a line is printed. */
KIV_API int KIV_CALL zu_file2_lock(zu_file2* file) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_file2_TryLock(zu_file2* file) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_file2_unlock(zu_file2* file) KIV_NOEXCEPT;

/* ---- Directories -----------------------------------------------------------------------------
 *
 * Paths and threads are as for files by path; the current directory belongs to the whole
 * process. */
enum {
  ZU_DIR1_FILE = 1,
  ZU_DIR1_DIRECTORY = 2,
  ZU_DIR1_LINK = 3, /* whatever its target is; on Windows also a junction */
  ZU_DIR1_OTHER = 4 /* a device, pipe or socket */
};

/* Receives one entry, in no particular order: `name` is its path relative to the directory walked,
 * with "/" as the separator, valid during the call. `size` is 0 for anything but a file. Returning
 * 0 stops the walk. */
typedef int(KIV_CALL* zu_dir1_callback)(void* argument, const char* name, int kind, int64_t size);

/* Returns 1 if there is a directory at the path, else 0. */
KIV_API int KIV_CALL zu_dir1_IsExist(const char* path) KIV_NOEXCEPT;

/* Creates a directory and its missing parents. Returns 1 if it exists afterwards, else 0. */
KIV_API int KIV_CALL zu_dir1_make(const char* path) KIV_NOEXCEPT;

/* Removes an empty directory. Returns 1, or 0 on failure; 0 for a link. */
KIV_API int KIV_CALL zu_dir1_remove(const char* path) KIV_NOEXCEPT;

/* Removes a directory with everything in it. Links in it are removed, but not their targets; the
 * path itself must not be a link, nor end in "." or "..". Returns 1; or 0 with as much removed as
 * possible. At most 256 levels deep, like _walk. */
KIV_API int KIV_CALL zu_dir1_RemoveAll(const char* path) KIV_NOEXCEPT;

/* Passes the entries of a directory to the callback and, if `deep` is not 0, those of its
 * subdirectories, each after the entry of the subdirectory itself; links are not followed. The
 * callback may delete the entry that it was given. Returns 1 at the end; 0 if the callback stopped
 * it; -1 if a directory could not be read to its end or was too deep, or if out of memory. */
KIV_API int KIV_CALL zu_dir1_walk(const char* path, int deep, zu_dir1_callback callback,
                                  void* argument) KIV_NOEXCEPT;

/* Returns the current directory as a newly allocated string, or NULL; SetCurrent changes it and
 * returns 1, or 0 on failure. */
KIV_API char* KIV_CALL zu_dir1_GetCurrent(void) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_dir1_SetCurrent(const char* path) KIV_NOEXCEPT;

/* Returns the directory for temporary files, without a trailing separator, as a newly allocated
 * string, or NULL. */
KIV_API char* KIV_CALL zu_dir1_GetTemp(void) KIV_NOEXCEPT;

/* Creates a new directory there which, except on Windows, only this user may enter. Returns its
 * path as a newly allocated string. Its name starts with `prefix`, which has no separators and may
 * be NULL. Returns NULL on failure. */
KIV_API char* KIV_CALL zu_dir1_MakeTemp(const char* prefix) KIV_NOEXCEPT;

/* ---- Mapped files ----------------------------------------------------------------------------
 *
 * A file as memory.
 *
 *   zu_file_mapped* file = zu_file_mapped_open("table", 0);
 *   const char* bytes = (const char*)zu_file_mapped_GetAddress(file);
 *   int64_t size = zu_file_mapped_GetSize(file);
 *   zu_file_mapped_close(file);
 *
 * A handle may be passed from thread to thread; any thread may use the memory until _resize and
 * _close. If another process truncates the file, or a full disk has no room for a write to a hole,
 * the access is a fault of the program, since the system has no other way to report it. */
typedef struct zu_file_mapped zu_file_mapped;

/* Maps a whole file for reading or, if `writable` is not 0, for changing; a missing file is then
 * created with no bytes. Returns NULL on failure, if out of memory and, after printing a line, for
 * a file larger than the address space. */
KIV_API zu_file_mapped* KIV_CALL zu_file_mapped_open(const char* path, int writable) KIV_NOEXCEPT;

/* Unmaps and closes the file. The system writes the changes in its own time. */
KIV_API void KIV_CALL zu_file_mapped_close(zu_file_mapped* file) KIV_NOEXCEPT;

/* Returns the address of the bytes, which is page-aligned; NULL if there are none. GetSize returns
 * their number, or -1. */
KIV_API void* KIV_CALL zu_file_mapped_GetAddress(zu_file_mapped* file) KIV_NOEXCEPT;
KIV_API int64_t KIV_CALL zu_file_mapped_GetSize(zu_file_mapped* file) KIV_NOEXCEPT;

/* Blocks until all changes are on the disk. Returns 1, or 0 on failure. */
KIV_API int KIV_CALL zu_file_mapped_flush(zu_file_mapped* file) KIV_NOEXCEPT;

/* Truncates a writable file or extends it with zeros; 0 is a valid size. The address may change,
 * and the old one is then invalid. Returns 1; or 0 with the file unchanged, on Windows also if the
 * file is to be truncated while another handle has it mapped. */
KIV_API int KIV_CALL zu_file_mapped_resize(zu_file_mapped* file, int64_t size) KIV_NOEXCEPT;

/* ---- Shared memory ---------------------------------------------------------------------------
 *
 * Memory that the processes of one user share, by a name of 1 to 100 letters, digits, ".", "_" and
 * "-"; on Windows, the processes of one session.
 *
 *   zu_shm* block = zu_shm_create("scores", 4096);
 *   if (block == NULL) block = zu_shm_open("scores");
 *   zu_shm_lock(block);
 *   ++*(int*)zu_shm_GetAddress(block);
 *   zu_shm_unlock(block);
 *   zu_shm_close(block);
 *
 * Any thread may use a handle until it is closed. Processes that share a block trust each other:
 * each can corrupt it. Only invalid names and sizes print a line. */
typedef struct zu_shm zu_shm;

/* Creates a block of zeros; its memory is reserved immediately. Returns NULL if a block of that
 * name exists, if out of memory, and for sizes below 1 or beyond the address space. */
KIV_API zu_shm* KIV_CALL zu_shm_create(const char* name, int64_t size) KIV_NOEXCEPT;

/* Opens an existing block. Returns NULL if there is none. */
KIV_API zu_shm* KIV_CALL zu_shm_open(const char* name) KIV_NOEXCEPT;

/* Closes the handle, and releases its lock if this thread holds it; no other thread may hold it.
 * The block remains; on Windows it is removed with its last handle. */
KIV_API void KIV_CALL zu_shm_close(zu_shm* block) KIV_NOEXCEPT;

/* Removes the block's name, so that it can no longer be opened; its memory is freed with its
 * last handle, and Windows makes the name available again only then. Returns 1, or 0 if there
 * is no block. */
KIV_API int KIV_CALL zu_shm_remove(const char* name) KIV_NOEXCEPT;

/* Returns the address of the block, aligned to 64 bytes, or NULL; GetSize returns the size with
 * which it was created, or -1. */
KIV_API void* KIV_CALL zu_shm_GetAddress(zu_shm* block) KIV_NOEXCEPT;
KIV_API int64_t KIV_CALL zu_shm_GetSize(zu_shm* block) KIV_NOEXCEPT;

/* Acquires or releases the block's one lock, shared by all threads, handles and processes. _lock
 * blocks, _TryLock does not. It belongs to the thread and handle that acquired it; a forked process
 * holds none of its parent's locks. If its process dies or its thread ends while holding it, the
 * next one acquires it and may find half-finished changes. Returns 1, or 0: it is taken (_TryLock),
 * this thread holds it, through any handle (both), or this thread and handle do not hold it
 * (_unlock). */
KIV_API int KIV_CALL zu_shm_lock(zu_shm* block) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shm_TryLock(zu_shm* block) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shm_unlock(zu_shm* block) KIV_NOEXCEPT;

/* ---- Modules ---------------------------------------------------------------------------------
 *
 * Shared libraries that a program loads at run time. Paths and strings are UTF-8 on every system,
 * here and below.
 *
 *   zu_module* module = zu_module_load("./plugin.so");
 *   int (*start)(void) = (int (*)(void))zu_module_GetSymbol(module, "start");
 *   zu_module_unload(module);
 */
typedef struct zu_module zu_module;

/* Loads a module and its dependencies. A path without a directory is searched in the system's way.
 * Returns NULL on failure: zu_module_GetError returns the reason; nothing is printed. */
KIV_API zu_module* KIV_CALL zu_module_load(const char* path) KIV_NOEXCEPT;

/* Returns the address of an exported name; NULL if there is none. */
KIV_API void* KIV_CALL zu_module_GetSymbol(zu_module* module, const char* name) KIV_NOEXCEPT;

/* Returns the reason, in the system's words, why this thread's last failed call failed in the
 * system, as a newly allocated string; an empty string if no call has failed. Returns NULL if out
 * of memory. */
KIV_API char* KIV_CALL zu_module_GetError(void) KIV_NOEXCEPT;

/* Releases one load. The code is unloaded with the last one; nothing of it may be running or in use
 * then. Returns 1, or 0 on failure. */
KIV_API int KIV_CALL zu_module_unload(zu_module* module) KIV_NOEXCEPT;

/* ---- The process -----------------------------------------------------------------------------
 *
 * The three functions for the environment are safe to use together from any number of threads, and
 * together with dates, logs, temporary directories and services, which read it, too. They are not
 * synchronised with the C runtime: on Linux, a change may disturb other code that reads the
 * environment; on Windows, getenv() does not see changes. */

/* Returns the system's id of the process. */
KIV_API int32_t KIV_CALL zu_GetProcessId(void) KIV_NOEXCEPT;

/* Returns the full path of the program's file as a newly allocated string; NULL if the system does
 * not report it, or if out of memory. */
KIV_API char* KIV_CALL zu_GetExecutablePath(void) KIV_NOEXCEPT;

/* Returns the value of an environment variable as a newly allocated string; NULL if there is none,
 * or if out of memory. A name that is empty or contains "=" is invalid. */
KIV_API char* KIV_CALL zu_GetEnv(const char* name) KIV_NOEXCEPT;

/* Sets a variable, possibly to an empty string, or removes it. "TZ" becomes the time zone of all
 * local times from then on. Returns 1 if the variable is as requested afterwards, else 0. */
KIV_API int KIV_CALL zu_SetEnv(const char* name, const char* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_UnsetEnv(const char* name) KIV_NOEXCEPT;

/* Fills the buffer from the system's random source; suitable for keys. Returns 1; 0 for NULL or a
 * negative count; and 0 with the buffer zeroed if the system provides none. */
KIV_API int KIV_CALL zu_RandomBytes(void* buffer, int32_t count) KIV_NOEXCEPT;

/* Overwrites secret data with zeros, even where a compiler would remove a memset. */
KIV_API void KIV_CALL zu_ClearMemory(void* memory, int32_t count) KIV_NOEXCEPT;

/* ---- Pid files -------------------------------------------------------------------------------
 *
 * A file with the process id of a running program, so that only one instance runs at a time.
 *
 *   zu_pidfile* pid_file = zu_pidfile_make("/run/chat.pid");
 *   if (pid_file == NULL) return 1;          // another one runs; a line has been printed
 *   ...
 *   zu_pidfile_free(pid_file);
 *
 * The process holds the file by a lock of the system, which ends with the process however it ends,
 * whatever processes it has forked. What counts is who holds the lock, not the number: another
 * process may have that number by now. A program that forks to leave its terminal creates the file
 * afterwards. */
typedef struct zu_pidfile zu_pidfile;

/* Creates the file, or takes over one that nobody holds. Returns NULL, after printing a line, if a
 * process holds it, including this one; if its content is neither empty nor a number, or it is not
 * a regular file (a link is not); or if it cannot be written. Returns NULL without printing for
 * NULL, an empty path, or if out of memory. */
KIV_API zu_pidfile* KIV_CALL zu_pidfile_make(const char* path) KIV_NOEXCEPT;

/* Releases the file and removes it. Returns 1, or 0 if the file is no longer at its path or belongs
 * to another process by now, in which case it is not removed. In a forked process it only releases
 * that process's share and returns 0. */
KIV_API int KIV_CALL zu_pidfile_free(zu_pidfile* file) KIV_NOEXCEPT;

/* Returns the id of the process that holds a file; 0 if no process does; -1 if there is no such
 * file or no number in it. */
KIV_API int32_t KIV_CALL zu_pidfile_read(const char* path) KIV_NOEXCEPT;

/* ---- Terminal input --------------------------------------------------------------------------
 *
 *   char name[64], password[64];
 *   if (zu_TTY_ReadName("Login: ", name, sizeof name) &&
 *       zu_TTY_ReadPassword("Password: ", password, sizeof password)) {
 *     ...
 *     zu_ClearMemory(password, sizeof password);
 *   }
 */

/* Shows the prompt at the terminal of the process, even if its standard input and output are
 * redirected, and reads one line without its end into a buffer of `size` bytes. A password is not
 * echoed; anything typed before the prompt is discarded. The terminal is always restored, even if a
 * signal ends the process, except for signals that no program can catch; a process that is stopped
 * shows the prompt again when it continues. Any thread may call; one is served at a time.
 *
 * Returns 1, also for an empty line. Returns 0 with the buffer emptied, after printing a line, if
 * there is no terminal; if the user closed the input; if the line does not fit or has more than
 * 1023 bytes (it is never truncated); or if a signal arrived that the program handles and survives,
 * of those that would otherwise have ended or stopped it (others, such as SIGCHLD and SIGWINCH,
 * have no effect). Returns 0 without printing for NULL and sizes below 1. */
KIV_API int KIV_CALL zu_TTY_ReadName(const char* prompt, char* buffer, int32_t size) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_TTY_ReadPassword(const char* prompt, char* buffer,
                                         int32_t size) KIV_NOEXCEPT;

/* ---- Services --------------------------------------------------------------------------------
 *
 * Programs that the system starts and stops: through the service control manager on Windows,
 * through systemd on Linux.
 *
 *   const char* command[] = {"/opt/chat/chat", "--service", NULL};
 *   zu_service_install("chat", "Chat for the house", command, 1);
 *   zu_service_start("chat");
 *
 * and in the program, if it is started with "--service":
 *
 *   zu_service_callbacks chat = {set_up, run_loop, break_loop, NULL, NULL};
 *   return zu_service_run("chat", &chat, NULL) ? 0 : 1;
 *
 * On Linux, root manages the services of the system, other users those of their own session; on
 * Windows only an administrator can manage services. A name has 1 to 100 letters, digits, ".", "_"
 * and "-", and starts with a letter or digit. A failure prints one line with the system's reason,
 * except for NULL arguments. Any thread may call; the functions that manage services may take as
 * long as the manager does. */

/* Installs a service: `title` is for people, and `command` is the program's full path and its
 * arguments, terminated by NULL, which are passed unchanged. It runs as the system's own account
 * (LocalSystem, root) or, on Linux, as the user to whom it belongs, in a directory that the system
 * chooses. The program has to call zu_service_run. If `automatic` is not 0, it starts with the
 * system or with the session. On Linux a unit file is written, even if no systemd is running to
 * read it. Returns 1, or 0 on failure, also if the service exists. */
KIV_API int KIV_CALL zu_service_install(const char* name, const char* title,
                                        const char* const* command, int automatic) KIV_NOEXCEPT;

/* Stops a service and removes it; on Linux only one that zu_service_install created. Returns 1, or
 * 0 on failure. */
KIV_API int KIV_CALL zu_service_remove(const char* name) KIV_NOEXCEPT;

/* Starts a service and blocks until its set-up is complete; or stops it and blocks until it has
 * ended. Returns 1, even if the service was in that state already; or 0 on failure, after 90
 * seconds at the latest. */
KIV_API int KIV_CALL zu_service_start(const char* name) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_service_stop(const char* name) KIV_NOEXCEPT;

/* Asks a running service to pause or to resume, without waiting until it has. Returns 1, or 0 on
 * failure, also for a service that cannot pause. */
KIV_API int KIV_CALL zu_service_pause(const char* name) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_service_continue(const char* name) KIV_NOEXCEPT;

enum {
  ZU_SERVICE_ABSENT = 0, /* not installed */
  ZU_SERVICE_STOPPED = 1,
  ZU_SERVICE_STARTING = 2,
  ZU_SERVICE_RUNNING = 3,
  ZU_SERVICE_PAUSED = 4,
  ZU_SERVICE_STOPPING = 5
};

/* Returns the state of a service; -1 if it cannot be determined. */
KIV_API int KIV_CALL zu_service_query(const char* name) KIV_NOEXCEPT;

/* The parts of a service; those that it does not need are NULL. `start` and `work` are called on
 * one thread, the caller's or one of the system's; the others are called on another thread, one at
 * a time, after `start` has returned and before zu_service_run does. */
typedef struct zu_service_callbacks {
  int(KIV_CALL* start)(void* argument);   /* sets up: returns 1, or 0 if it cannot run */
  void(KIV_CALL* work)(void* argument);   /* runs until done; NULL: until `stop` returns */
  void(KIV_CALL* stop)(void* argument);   /* makes `work` return; called at most once */
  void(KIV_CALL* pause)(void* argument);  /* set both this and the next, or neither */
  void(KIV_CALL* resume)(void* argument); /* after `pause` */
} zu_service_callbacks;

/* Runs the program as a service, one at a time in a process, and returns when it is over. Start,
 * pause and end are written to the system's log. A program that no manager started runs all the
 * same: Ctrl-C stops it, and so does the end of its terminal.
 *
 * On Linux, SIGTERM, SIGINT and, unless it is ignored (nohup), SIGHUP stop it, whether or not they
 * come from the manager; SIGUSR1 pauses it and SIGUSR2 resumes it, since SIGTSTP and SIGCONT
 * belong to the shell, and a manager sends SIGCONT along with SIGTERM. Without `pause` and
 * `resume`, these two signals have no effect unless the program handles them. The signal handlers
 * are restored afterwards.
 *
 * Returns 1 if it ran, or 0 if it could not: without printing if `start` failed, and after printing
 * a line if another one is running. */
KIV_API int KIV_CALL zu_service_run(const char* name, const zu_service_callbacks* callbacks,
                                    void* argument) KIV_NOEXCEPT;

enum { ZU_SERVICE_NOTICE = 1, ZU_SERVICE_WARN = 2, ZU_SERVICE_ERROR = 3 };

/* Writes a line under the service's name to the system's log: the event log, or syslog. Control
 * characters become spaces. Returns 1, or 0 if the system keeps no log. */
KIV_API int KIV_CALL zu_service_log(const char* name, int kind, const char* text) KIV_NOEXCEPT;

#endif
