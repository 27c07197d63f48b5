/* What programs use beside the network: configuration files, wildcard patterns, dates, process
 * helpers, files and directories, services.
 *
 *   zu_config* config = zu_config_make("service.conf");
 *   const char* port = zu_config_GetKey(config, "listen", "port");
 *   zu_config_SetKey(config, "listen", "port", "8080");
 *   zu_config_SaveToFile(config, "service.conf");
 *   zu_config_free(config);
 *
 * Threads: one thread at a time uses a configuration. A pattern never changes once it is made, so
 * any number of threads may match with it. All other functions may be called from any thread.
 */
#ifndef KIV_BASE_SYSTEM_H
#define KIV_BASE_SYSTEM_H

#include "kiv_base/export.h"

/* ---- Configuration files ---------------------------------------------------------------------
 *
 * A text of groups of keys, kept piece by piece so that what was not changed is written back byte
 * for byte: comments, blank lines, spacing, and lines that are none of these.
 *
 *   ; a comment, to the end of the line; so are # and //
 *   [group]                   the name is all up to the next "]"
 *   key = value               the value is " value": all behind "=", to the end of the line
 *
 * A slash and an asterisk open a comment that ends with an asterisk and a slash. A line whose key
 * is not followed by "=", or that starts with "=" or with a single "/", is passed over. A key ends
 * at a blank, tab or "=".
 * Groups of one name are one group, and the last of several equal keys counts. A key before the
 * first group, or below a group without a name, can be neither found nor changed. A UTF-8 byte order
 * mark at the start is skipped and kept.
 *
 * All functions accept NULL for any argument and then return 0 or NULL. Names are compared to the
 * byte and empty ones are refused. Texts handed in are copied and are written as they are: a line
 * end in a value, a blank or "=" in a key or a "]" in a group's name makes a text that reads back
 * as something else. Texts read stay the configuration's own, and are valid until that key or group
 * is changed, removed or freed.
 */
typedef struct zu_config zu_config;

/* A key and its value. */
typedef struct zu_config_entry {
  const char* key;
  const char* value;
} zu_config_entry;

/* Reads a file, or a text in memory; NULL gives an empty configuration. NULL when the file cannot
 * be read, as a pipe, device or socket cannot, when it is 2 GiB or longer, and if out of memory. */
KIV_API zu_config* KIV_CALL zu_config_make(const char* file_name) KIV_NOEXCEPT;
KIV_API zu_config* KIV_CALL zu_config_make1(const char* text) KIV_NOEXCEPT;

/* Frees the configuration and all texts that were read from it. Nothing is saved. */
KIV_API void KIV_CALL zu_config_free(zu_config* config) KIV_NOEXCEPT;

/* The value, leading blanks included; NULL when there is none. See __GetProfileString. */
KIV_API const char* KIV_CALL zu_config_GetKey(zu_config* config, const char* group,
                                              const char* key) KIV_NOEXCEPT;

/* 1 when it is there, else 0. */
KIV_API int KIV_CALL zu_config_IsKeyExist(zu_config* config, const char* group,
                                          const char* key) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_config_IsGroupExist(zu_config* config, const char* group) KIV_NOEXCEPT;

/* Changes the value in its place, or adds the key as the first line of its group; a missing group
 * is added first. 1, or 0 with nothing changed. */
KIV_API int KIV_CALL zu_config_SetKey(zu_config* config, const char* group, const char* key,
                                      const char* value) KIV_NOEXCEPT;

/* Adds a group at the end unless it is there: 1, or 0 with nothing changed. */
KIV_API int KIV_CALL zu_config_SetGroup(zu_config* config, const char* group) KIV_NOEXCEPT;

/* Removes a key wherever its group has it, with the line ends behind its value: those of blank
 * lines that follow, too. 1, or 0 when it is not there. */
KIV_API int KIV_CALL zu_config_UnsetKey(zu_config* config, const char* group,
                                        const char* key) KIV_NOEXCEPT;

/* Removes every header of the group and the lines of its keys; comments and blank lines stay. A group
 * that was added leaves the text as it was before. 1, or 0 when it is not there. */
KIV_API int KIV_CALL zu_config_UnsetGroup(zu_config* config, const char* group) KIV_NOEXCEPT;

/* Renames every header of the group. 1, or 0 with nothing changed: `group` is not there or
 * `new_name` is. */
KIV_API int KIV_CALL zu_config_RenameGroup(zu_config* config, const char* group,
                                           const char* new_name) KIV_NOEXCEPT;

/* Walk the groups, or the keys of one group, in the order of their names as unsigned bytes. _Rewind
 * notes what is there; _GetFirst does that too and hands out the first, _GetNext the next. What is
 * removed is no longer handed out, what is added later is not either, and anything may be changed
 * in between. A configuration has one walk of groups and one of keys at a time.
 *
 * _Rewind gives 1, or 0 when there is no such group; the others 1 with the outputs set, or 0 at the
 * end. An output may be NULL. zu_config_KeyGetFirst hands out the pair, through both outputs, where
 * zu_config_KeyGetNext hands out its texts. */
KIV_API int KIV_CALL zu_config_GroupRewind(zu_config* config) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_config_GroupGetFirst(zu_config* config, const char** group) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_config_GroupGetNext(zu_config* config, const char** group) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_config_KeyRewind(zu_config* config, const char* group) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_config_KeyGetFirst(zu_config* config, const char* group,
                                           const zu_config_entry** key,
                                           const zu_config_entry** value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_config_KeyGetNext(zu_config* config, const char** key,
                                          const char** value) KIV_NOEXCEPT;

/* The whole text, new; NULL when it is 2 GiB or longer, or if out of memory. */
KIV_API char* KIV_CALL zu_config_ToString(zu_config* config) KIV_NOEXCEPT;

/* Writes the whole text to a file as one step: beside the file, then renamed over it, so that a
 * full disk or a crash leaves the old content; of several that save at once, one is the last. 1, or
 * 0 with the file as it was, and for a pipe, device or socket. On Windows it also fails while
 * another program has the file open. */
KIV_API int KIV_CALL zu_config_SaveToFile(zu_config* config, const char* file_name) KIV_NOEXCEPT;

/* A value without its quotes, new: what stands between a double quote at its start, blanks and tabs
 * aside, and one at its end, blanks, tabs, ";" and "," aside. What lies before a missing first
 * quote or behind a missing last one stays. An empty text for NULL; NULL without memory. */
KIV_API char* KIV_CALL __GetProfileString(const char* value) KIV_NOEXCEPT;

/* ---- Patterns --------------------------------------------------------------------------------
 *
 * "*" stands for any bytes, none included, and "?" for one byte. There is no way to quote them.
 *
 *   zu_pattern* pattern = zu_pattern_make("*.txt");
 *   zu_pattern_match_istring(pattern, "A.TXT");       1
 *   zu_pattern_free(pattern);
 */
typedef struct zu_pattern {
  int32_t match_type;  /* 0 general, 1 general from the tail, 2 text*, 3 *text, 4 text */
  uint32_t length;     /* of `text` */
  uint32_t min_length; /* of a text that can match */
  uint32_t max_length; /* all ones with a "*" */
  char* text;          /* "?" before the "*" beside it, one "*" for several; backwards in type 1,
                        * without the "*" in types 2 and 3 */
} zu_pattern;

/* Makes a pattern; NULL for NULL, for 2 GiB and without memory. */
KIV_API zu_pattern* KIV_CALL zu_pattern_make(const char* text) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_pattern_free(zu_pattern* pattern) KIV_NOEXCEPT;

/* 1 when both have the same type, length and text, else 0. */
KIV_API int KIV_CALL zu_pattern_equal(const zu_pattern* a, const zu_pattern* b) KIV_NOEXCEPT;

/* Does the pattern match all `length` bytes of the text? 1 or 0; 0 for NULL. Case counts when
 * `match_case` is not 0, and always in patterns of types 0 and 1. `reversed`, which may be NULL, is
 * what a pattern of type 1 then looks at: the same bytes backwards. Takes at most the product of
 * the two lengths, and no memory. */
KIV_API int KIV_CALL zu_pattern_match(const zu_pattern* pattern, uint32_t length, const char* text,
                                      const char* reversed, int match_case) KIV_NOEXCEPT;

/* The same for a terminated text: with case, and, in the i form, without. The simple forms make the
 * pattern and free it again. */
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

/* Reads a date as headers and cookies have it, in one of the forms
 *
 *   [Sun, ]06 Nov 1994 08:49:37 GMT          also 06-Nov-1994
 *   08:49:37 GMT 06 Nov 1994                 also 06-Nov-1994
 *   Sun Nov  6 08:49:37 GMT 1994
 *
 * with days and months in full or as three letters, in any case. Years 70 to 1900 count from 1900
 * and years below 70 from 2000. Deliberately read as local time in winter, whatever "GMT" says:
 * zu_GetGMTString writes local time as well. Numbers beyond their range carry over (32 Jan is 1
 * Feb). -1 when no form fits or the system's calendar, which on Windows begins with 1970, or
 * zu_time has no such time. */
KIV_API zu_time KIV_CALL zu_DateParse(const char* text) KIV_NOEXCEPT;

/* "Sun, 06 Nov 1994 08:49:37 GMT", new. Deliberately the local time, despite its label. NULL when
 * the system's calendar has no such time, and without memory. */
KIV_API char* KIV_CALL zu_GetGMTString(zu_time time) KIV_NOEXCEPT;

/* Writes the local time as "1994.11.06 - 08:49:37" to a buffer of at least 22 bytes. The number of
 * characters; 0 for NULL. */
KIV_API int32_t KIV_CALL zu_GetLocalDate(char* buffer) KIV_NOEXCEPT;

/* Hour (0 to 23) and minute (0 to 59) of the local time. */
KIV_API int32_t KIV_CALL zu_GetCurrentTimeHH(void) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_GetCurrentTimeMM(void) KIV_NOEXCEPT;

/* ---- Process helpers ------------------------------------------------------------------------- */

/* A number from 0 to INT32_MAX, evenly spread, of a generator that the system seeds. Good for ids
 * that should not repeat; predictable to an attacker, so never a secret. A forked process draws
 * numbers of its own. */
KIV_API int32_t KIV_CALL zu_RandomValue(void) KIV_NOEXCEPT;

/* Writes `count` letters and digits of the system's random source, hard to guess, and a zero behind
 * them: the buffer has at least count + 1 bytes. Deliberately uneven: "z" never comes, "I" to "O"
 * and "Q" to "V" come twice as often as the others; 64 characters still hold 374 bits. 0 for NULL,
 * a negative count, and an empty text when the system gives no random bytes. */
KIV_API int KIV_CALL zu_RandomStr(char* buffer, int32_t count) KIV_NOEXCEPT;

/* The system's id of the calling thread (not of the process, despite its name). */
KIV_API int32_t KIV_CALL zu_GetPid(void) KIV_NOEXCEPT;

/* ---- Files by path ---------------------------------------------------------------------------
 *
 * Paths of the families zu_file1, zu_file2, zu_dir1 and zu_file_mapped are UTF-8 on every system;
 * on Windows other bytes are refused, "/" does for "\", and long paths are no shorter than the
 * system's own 32,767 characters. Links are followed unless it says otherwise. Sizes and positions
 * have 64 bits, times are microseconds since 1970-01-01 UTC. NULL and empty paths give the failure
 * value. A failure prints nothing, unless the system cannot do at all what was asked for. Any
 * thread may call. A pipe, device or socket has no content here: zu_file1 and zu_file_mapped return
 * the failure value for one at once. It exists, and can be moved and deleted.
 *
 *   int64_t length;
 *   char* text = zu_file1_Read("notes.txt", &length);
 *   zu_file1_Write("copy.txt", text, length);
 *   _zu_free(text);
 */

/* 1 when there is something at the path other than a directory, else 0. */
KIV_API int KIV_CALL zu_file1_IsExist(const char* path) KIV_NOEXCEPT;

/* Bytes of a file; -1 when there is none. */
KIV_API int64_t KIV_CALL zu_file1_GetSize(const char* path) KIV_NOEXCEPT;

/* When a file or directory was last changed and last read, and changing either. An output, or an
 * input that shall stay as it is, may be NULL. 1, or 0 with nothing set. Windows keeps steps of 100
 * ns from 1601 on; other file systems have steps of up to two seconds. */
KIV_API int KIV_CALL zu_file1_GetTimes(const char* path, int64_t* modified_us,
                                       int64_t* accessed_us) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_file1_SetTimes(const char* path, const int64_t* modified_us,
                                       const int64_t* accessed_us) KIV_NOEXCEPT;

/* Copies the content to a new or old file, as zu_file1_Write writes it; a new one gets the access
 * rights of `from`. 1 or 0. */
KIV_API int KIV_CALL zu_file1_Copy(const char* from, const char* to) KIV_NOEXCEPT;

/* Moves a file, or a link itself, over what file is there. One step on one file system; to another
 * one, a file is copied and then deleted, a link stays. 1, or 0 with `from` where it was: for a
 * directory, too, and on Windows while a program has the old file at `to` open. */
KIV_API int KIV_CALL zu_file1_Move(const char* from, const char* to) KIV_NOEXCEPT;

/* Deletes a file, one that is read-only as well, or a link itself. 1 or 0; 0 for a directory. */
KIV_API int KIV_CALL zu_file1_Delete(const char* path) KIV_NOEXCEPT;

/* All bytes of a file, new, with a zero behind them that `length`, which may be NULL, does not
 * count. What grows meanwhile, or has content but no size, is read to its end. NULL when it cannot
 * be read, when it is 2 GiB or longer, and if out of memory. */
KIV_API char* KIV_CALL zu_file1_Read(const char* path, int64_t* length) KIV_NOEXCEPT;

/* Gives a file new content as one step: beside the file, on the disk, then renamed over it, so that
 * a full disk or a crash leaves the old content. Off Windows, what a link leads to is replaced and
 * not the link, and an old file's access rights stay. Of several that write at once, one is the
 * last. 1, or 0 with the file as it was; on Windows also while a program has the file open. */
KIV_API int KIV_CALL zu_file1_Write(const char* path, const void* bytes,
                                    int64_t length) KIV_NOEXCEPT;

/* Adds to the end of a file, which is made when there is none. 1, or 0, perhaps with a part added.
 */
KIV_API int KIV_CALL zu_file1_Append(const char* path, const void* bytes,
                                     int64_t length) KIV_NOEXCEPT;

/* ---- Files by handle -------------------------------------------------------------------------
 *
 *   zu_file2* file = zu_file2_open("data", ZU_FILE2_READ | ZU_FILE2_WRITE | ZU_FILE2_CREATE);
 *   if (zu_file2_lock(file)) zu_file2_write(file, "x", 1);
 *   zu_file2_close(file);
 *
 * A handle may go from thread to thread, but one at a time uses it. Other handles may have the file
 * open in every mode; it may be deleted meanwhile. Programs that are started do not inherit it.
 */
typedef struct zu_file2 zu_file2;

enum {
  ZU_FILE2_READ = 1,
  ZU_FILE2_WRITE = 2,
  ZU_FILE2_APPEND = 4,    /* as _WRITE, and every write goes to the end at that moment */
  ZU_FILE2_CREATE = 8,    /* makes the file when there is none; needs one of the two above, as do */
  ZU_FILE2_TRUNCATE = 16, /* empties it */
  ZU_FILE2_EXCLUSIVE = 32, /* with _CREATE: fails when there is anything already, a link included */

  ZU_FILE2_BEGIN = 0, /* what an offset counts from */
  ZU_FILE2_CURRENT = 1,
  ZU_FILE2_END = 2
};

/* Opens a file. NULL when the mode makes no sense, for directories, on failure, if out of memory. A
 * pipe or device can be opened as well, without blocking: NULL for writing to a pipe that nobody
 * reads. Reads and writes of it may block. */
KIV_API zu_file2* KIV_CALL zu_file2_open(const char* path, int mode) KIV_NOEXCEPT;

/* Gives up the handle and its lock. 1, or 0 when the system tells only now that bytes were lost. */
KIV_API int KIV_CALL zu_file2_close(zu_file2* file) KIV_NOEXCEPT;

/* Reads from the position on. The number of bytes, fewer than `size` only at the end of the file or
 * before an error; 0 at the end; -1 on failure. */
KIV_API int64_t KIV_CALL zu_file2_read(zu_file2* file, void* buffer, int64_t size) KIV_NOEXCEPT;

/* Writes all of it at the position, which moves behind it. 1, or 0, perhaps with a part written. */
KIV_API int KIV_CALL zu_file2_write(zu_file2* file, const void* bytes, int64_t size) KIV_NOEXCEPT;

/* Moves the position, also beyond the end, which a write there makes up with zeros. The new
 * position from the beginning, or -1 with it where it was. _tell gives it. */
KIV_API int64_t KIV_CALL zu_file2_seek(zu_file2* file, int64_t offset, int from) KIV_NOEXCEPT;
KIV_API int64_t KIV_CALL zu_file2_tell(zu_file2* file) KIV_NOEXCEPT;

/* The file's size; -1 on failure. */
KIV_API int64_t KIV_CALL zu_file2_GetSize(zu_file2* file) KIV_NOEXCEPT;

/* Cuts the file off or adds zeros. The position stays. 1 or 0. */
KIV_API int KIV_CALL zu_file2_truncate(zu_file2* file, int64_t size) KIV_NOEXCEPT;

/* Waits until the disk has what was written. 1 or 0. */
KIV_API int KIV_CALL zu_file2_flush(zu_file2* file) KIV_NOEXCEPT;

/* The file's one lock, between all handles of all processes; it hinders nobody from reading or
 * writing. _lock waits for it, _TryLock does not; it ends with _unlock, the handle or the process.
 * 1, or 0: it is taken (_TryLock), this handle has it (both), has it not (_unlock), or the file
 * system knows no locks, which prints a line. */
KIV_API int KIV_CALL zu_file2_lock(zu_file2* file) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_file2_TryLock(zu_file2* file) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_file2_unlock(zu_file2* file) KIV_NOEXCEPT;

/* ---- Directories -----------------------------------------------------------------------------
 *
 * Paths and threads as with files by path; the current directory is the whole process's.
 */
enum {
  ZU_DIR1_FILE = 1,
  ZU_DIR1_DIRECTORY = 2,
  ZU_DIR1_LINK = 3, /* whatever it leads to; on Windows a junction, too */
  ZU_DIR1_OTHER = 4 /* a device, pipe or socket */
};

/* One entry, in no order: `name` is its path below the one walked, with "/" between the parts,
 * valid during the call. `size` is 0 for what is no file. 0 stops the walk. */
typedef int(KIV_CALL* zu_dir1_callback)(void* argument, const char* name, int kind, int64_t size);

/* 1 when there is a directory at the path, else 0. */
KIV_API int KIV_CALL zu_dir1_IsExist(const char* path) KIV_NOEXCEPT;

/* Makes a directory and those above it that are missing. 1 when it is there by then, else 0. */
KIV_API int KIV_CALL zu_dir1_make(const char* path) KIV_NOEXCEPT;

/* Removes an empty directory. 1, or 0; 0 for a link. */
KIV_API int KIV_CALL zu_dir1_remove(const char* path) KIV_NOEXCEPT;

/* Removes a directory with all that is in it. Links in it go, and what they lead to stays; the path
 * itself may not be a link, nor end in "." or "..". 1, or 0 with as much removed as could be. At
 * most 256 levels deep, as is _walk. */
KIV_API int KIV_CALL zu_dir1_RemoveAll(const char* path) KIV_NOEXCEPT;

/* Hands out what is in a directory, and with `deep` what is in its directories, each behind the
 * directory's own entry; links in it are not followed. The callback may delete what it is handed.
 * 1 at the end, 0 when the callback stopped it, -1 when a directory could not be read to its end,
 * was too deep, or memory ran out. */
KIV_API int KIV_CALL zu_dir1_walk(const char* path, int deep, zu_dir1_callback callback,
                                  void* argument) KIV_NOEXCEPT;

/* The current directory, new, or NULL; and changing it, 1 or 0. */
KIV_API char* KIV_CALL zu_dir1_GetCurrent(void) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_dir1_SetCurrent(const char* path) KIV_NOEXCEPT;

/* The directory for temporary files, without a separator behind it, new, or NULL. */
KIV_API char* KIV_CALL zu_dir1_GetTemp(void) KIV_NOEXCEPT;

/* Makes a directory there that was not there before and, off Windows, only this user may enter: its
 * path, new. Its name begins with `prefix`, which has no separators and may be NULL. NULL on
 * failure. */
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
 * A handle may go from thread to thread; the memory is any thread's until _resize and _close. When
 * another process cuts the file off, or a full disk has no room for what is written to a hole, an
 * access is a fault of the program, as the system has no other way to tell.
 */
typedef struct zu_file_mapped zu_file_mapped;

/* Maps a whole file, to be read, or, with `writable`, to be changed: one that is not there is then
 * made, with no bytes. NULL on failure, without memory, and, with a line printed, for a file that
 * is larger than the address space. */
KIV_API zu_file_mapped* KIV_CALL zu_file_mapped_open(const char* path, int writable) KIV_NOEXCEPT;

/* The system writes what was changed in its own time. */
KIV_API void KIV_CALL zu_file_mapped_close(zu_file_mapped* file) KIV_NOEXCEPT;

/* Where the bytes are, on a page of their own; NULL when there are none. Their number, or -1. */
KIV_API void* KIV_CALL zu_file_mapped_GetAddress(zu_file_mapped* file) KIV_NOEXCEPT;
KIV_API int64_t KIV_CALL zu_file_mapped_GetSize(zu_file_mapped* file) KIV_NOEXCEPT;

/* Waits until the disk has what was changed. 1 or 0. */
KIV_API int KIV_CALL zu_file_mapped_flush(zu_file_mapped* file) KIV_NOEXCEPT;

/* Cuts a writable file off or adds zeros; 0 bytes are a size, too. The address may change, the old
 * one is no good any more. 1, or 0 with the file as it was: on Windows also when it is to become
 * shorter while another handle has it mapped. */
KIV_API int KIV_CALL zu_file_mapped_resize(zu_file_mapped* file, int64_t size) KIV_NOEXCEPT;

/* ---- Shared memory ---------------------------------------------------------------------------
 *
 * Memory that processes of one user have in common, by a name of 1 to 100 letters, digits, ".",
 * "_" and "-"; on Windows, processes of one session.
 *
 *   zu_shm* block = zu_shm_create("scores", 4096);
 *   if (block == NULL) block = zu_shm_open("scores");
 *   zu_shm_lock(block);
 *   ++*(int*)zu_shm_GetAddress(block);
 *   zu_shm_unlock(block);
 *   zu_shm_close(block);
 *
 * Any thread may use a handle until it is closed. Those who share a block trust each other: each
 * can spoil it. Only refused names and sizes print a line.
 */
typedef struct zu_shm zu_shm;

/* Makes a block of zeros; its memory is taken at once. NULL when the name has one, without memory,
 * for sizes below 1 and those beyond the address space. */
KIV_API zu_shm* KIV_CALL zu_shm_create(const char* name, int64_t size) KIV_NOEXCEPT;

/* Opens a block that is there. NULL when none is. */
KIV_API zu_shm* KIV_CALL zu_shm_open(const char* name) KIV_NOEXCEPT;

/* Gives up the handle, and its lock if this thread has it; no other thread may. The block stays; on
 * Windows it goes with its last handle. */
KIV_API void KIV_CALL zu_shm_close(zu_shm* block) KIV_NOEXCEPT;

/* Takes the block away from its name, so that it opens no more; its memory goes with its last
 * handle, and only then does Windows give the name to a new one. 1, or 0 when there is none. */
KIV_API int KIV_CALL zu_shm_remove(const char* name) KIV_NOEXCEPT;

/* Where the block is, aligned to 64 bytes, or NULL; the size it was made with, or -1. */
KIV_API void* KIV_CALL zu_shm_GetAddress(zu_shm* block) KIV_NOEXCEPT;
KIV_API int64_t KIV_CALL zu_shm_GetSize(zu_shm* block) KIV_NOEXCEPT;

/* The block's one lock, between all threads, handles and processes. _lock waits for it, _TryLock
 * does not. It belongs to the thread and handle that took it. When its process dies or a thread
 * ends with it, the next one gets it, on Linux the next of the same handle where only the thread
 * ended, and finds what was half changed. A thread takes it through one handle at a time: on Linux,
 * _lock through another one would wait for itself. 1, or 0: it is taken (_TryLock), this thread and
 * handle have it (both), have it not (_unlock). */
KIV_API int KIV_CALL zu_shm_lock(zu_shm* block) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shm_TryLock(zu_shm* block) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_shm_unlock(zu_shm* block) KIV_NOEXCEPT;

/* ---- Modules ---------------------------------------------------------------------------------
 *
 * Shared libraries that a program loads while it runs. Paths and texts are UTF-8 on every system
 * here and below.
 *
 *   zu_module* module = zu_module_load("./plugin.so");
 *   int (*start)(void) = (int (*)(void))zu_module_GetSymbol(module, "start");
 *   zu_module_unload(module);
 */
typedef struct zu_module zu_module;

/* Loads a module and what it needs. A path without a folder is looked for in the system's way. NULL
 * when it cannot be had: zu_module_GetError tells why, nothing is printed. */
KIV_API zu_module* KIV_CALL zu_module_load(const char* path) KIV_NOEXCEPT;

/* The address of an exported name; NULL when there is none. */
KIV_API void* KIV_CALL zu_module_GetSymbol(zu_module* module, const char* name) KIV_NOEXCEPT;

/* Why the last call of this thread that failed at the system did so, new, in the system's words; an
 * empty text when none has. NULL without memory. */
KIV_API char* KIV_CALL zu_module_GetError(void) KIV_NOEXCEPT;

/* Gives up one load. Its code goes with the last; nothing of it may run or be held then. 1 or 0. */
KIV_API int KIV_CALL zu_module_unload(zu_module* module) KIV_NOEXCEPT;

/* ---- The process -----------------------------------------------------------------------------
 *
 * The three functions of the environment keep out of each other's way in any number of threads, and
 * out of that of dates, logs, temporary directories and services, which read it, too. They do not
 * keep out of the C runtime's: on Linux other code that reads the environment may be disturbed by a
 * change, on Windows getenv() does not see one. */

/* The system's id of the process. */
KIV_API int32_t KIV_CALL zu_GetProcessId(void) KIV_NOEXCEPT;

/* The full path of the program's file, new; NULL when the system does not tell, or without memory.
 */
KIV_API char* KIV_CALL zu_GetExecutablePath(void) KIV_NOEXCEPT;

/* The value of an environment variable, new; NULL when there is none, or without memory. A name is
 * refused when it is empty or has a "=". */
KIV_API char* KIV_CALL zu_GetEnv(const char* name) KIV_NOEXCEPT;

/* Sets a variable, to an empty text too, or takes it out. "TZ" is the zone of all local times from
 * then on. 1 when it is so afterwards, else 0. */
KIV_API int KIV_CALL zu_SetEnv(const char* name, const char* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_UnsetEnv(const char* name) KIV_NOEXCEPT;

/* Fills the buffer from the system's random source: good for keys. 1, or 0 for NULL, a negative
 * count, and with the buffer zeroed when the system gives none. */
KIV_API int KIV_CALL zu_RandomBytes(void* buffer, int32_t count) KIV_NOEXCEPT;

/* Overwrites what was secret with zeroes, also where a compiler would leave a memset out. */
KIV_API void KIV_CALL zu_ClearMemory(void* memory, int32_t count) KIV_NOEXCEPT;

/* ---- Pid files -------------------------------------------------------------------------------
 *
 * A file with the number of the process that runs, so that there is one of it at a time.
 *
 *   zu_pidfile* pid_file = zu_pidfile_make("/run/chat.pid");
 *   if (pid_file == NULL) return 1;          another one runs; a line has been printed
 *   ...
 *   zu_pidfile_free(pid_file);
 *
 * The process holds the file by a lock of the system, which ends with it however it ends, whatever
 * processes it has forked. Who holds it counts, not the number: a number may have gone to another
 * process by now. A program that forks to leave its terminal makes the file afterwards. */
typedef struct zu_pidfile zu_pidfile;

/* Makes the file, or takes over one that nobody holds. NULL, with a line printed: a process holds
 * it, this one included; there is something that is neither empty nor a number, or no regular file
 * (a link is none); it cannot be written. NULL in silence for NULL, an empty path and without
 * memory. */
KIV_API zu_pidfile* KIV_CALL zu_pidfile_make(const char* path) KIV_NOEXCEPT;

/* Lets go of the file and removes it: 1, or 0 when it is gone from its path or another's by now,
 * which then stays. In a forked process it only gives up that process's part: 0. */
KIV_API int KIV_CALL zu_pidfile_free(zu_pidfile* file) KIV_NOEXCEPT;

/* The number of the process that holds a file; 0 when nobody does. -1 when there is no such file or
 * no number in it. */
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

/* Shows the prompt at the terminal of the process, wherever its standard input and output lead, and
 * reads one line without its end into a buffer of `size` bytes. A password does not show while it
 * is typed; what was typed before the prompt goes. The terminal is always left as it was, also when
 * a signal ends the process, save those that no program can catch; one that is stopped shows the
 * prompt anew when it goes on. Any thread may call, one at a time is served.
 *
 * 1, for an empty line too. 0 with the buffer emptied and a line printed: there is no terminal; the
 * user closed the input; the text has no room or more than 1023 bytes (it is never cut off); a
 * signal came that the program handles and outlives, of those that would have ended or stopped it
 * otherwise (others, as SIGCHLD and SIGWINCH, do not matter). 0 in silence for NULL and sizes below
 * 1. */
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
 * and in the program, when it is given "--service":
 *
 *   zu_service_callbacks chat = {set_up, run_loop, break_loop, NULL, NULL};
 *   return zu_service_run("chat", &chat, NULL) ? 0 : 1;
 *
 * On Linux, root manages the services of the system, anyone else those of their own session; on
 * Windows it takes an administrator to manage any. A name has 1 to 100 letters, digits, ".", "_"
 * and "-", and begins with a letter or digit. A failure prints one line, with the system's reason,
 * but for NULL. Any thread may call; the functions that manage may take as long as the manager
 * does. */

/* Makes a service: `title` is for people, and `command` the program's full path and its arguments,
 * NULL behind the last, which reach it unchanged. It runs as the system's own account (LocalSystem,
 * root) or, on Linux, as the user whose it is, in a directory of the system's choice. The program
 * has to call zu_service_run. With `automatic` the system starts it whenever it starts, or the
 * session does. On Linux a unit file is written, even where no systemd runs to see it. 1, or 0: for
 * one that is there already, too. */
KIV_API int KIV_CALL zu_service_install(const char* name, const char* title,
                                        const char* const* command, int automatic) KIV_NOEXCEPT;

/* Stops a service and takes it away; on Linux only one that zu_service_install made. 1 or 0. */
KIV_API int KIV_CALL zu_service_remove(const char* name) KIV_NOEXCEPT;

/* Starts it, and waits until its set-up is over; stops it, and waits until it has ended. 1, also
 * when it was so already, or 0: after 90 seconds at the latest. */
KIV_API int KIV_CALL zu_service_start(const char* name) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_service_stop(const char* name) KIV_NOEXCEPT;

/* Tell a running service to pause or to go on, without waiting until it has. 1, or 0: for one that
 * takes no pauses, too. */
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

/* What a service does; -1 when nobody can tell. */
KIV_API int KIV_CALL zu_service_query(const char* name) KIV_NOEXCEPT;

/* What a service consists of; what it does not need is NULL. `start` and `work` are called on one
 * thread, the caller's or one of the system's, the others on another one, one after the other,
 * between the end of `start` and that of zu_service_run. */
typedef struct zu_service_callbacks {
  int(KIV_CALL* start)(void* argument);   /* sets up: 1, or 0 when it cannot run */
  void(KIV_CALL* work)(void* argument);   /* runs until it is over; NULL: until `stop` is */
  void(KIV_CALL* stop)(void* argument);   /* makes `work` return, once at most */
  void(KIV_CALL* pause)(void* argument);  /* both this one and the next, or neither */
  void(KIV_CALL* resume)(void* argument); /* after `pause` */
} zu_service_callbacks;

/* Runs the program as a service, one at a time in a process, and returns when it is over. Start,
 * pause and end go to the system's log. A program that no manager has started runs all the same:
 * Ctrl-C stops it, as does the end of its terminal.
 *
 * On Linux SIGTERM, SIGINT and, unless ignored (nohup), SIGHUP stop it, at the manager's word or
 * without; SIGUSR1 pauses it and SIGUSR2 resumes, as SIGTSTP and SIGCONT belong to the shell, and a
 * manager sends SIGCONT along with SIGTERM. Without `pause` and `resume`, these two do nothing
 * unless the program handles them. The signals are as they were afterwards.
 *
 * 1 when it ran, 0 when it could not: in silence when `start` failed, and with a line printed when
 * another one runs. */
KIV_API int KIV_CALL zu_service_run(const char* name, const zu_service_callbacks* callbacks,
                                    void* argument) KIV_NOEXCEPT;

enum { ZU_SERVICE_NOTICE = 1, ZU_SERVICE_WARN = 2, ZU_SERVICE_ERROR = 3 };

/* Writes a line under the service's name to the system's log: the event log, or syslog. Control
 * characters become blanks. 1, or 0 when the system keeps no log. */
KIV_API int KIV_CALL zu_service_log(const char* name, int kind, const char* text) KIV_NOEXCEPT;

#endif
