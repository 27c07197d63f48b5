/* A host that is not linked with the library: it loads it, finds every exported name, and calls
 * functions of every family by their names, with nothing but machine words. On 32-bit Windows it
 * watches the stack meanwhile: callers clean it, and so must the library for callbacks.
 *
 *   by_name LIBRARY FILE_OF_NAMES */
#if !defined(_WIN32)
#define _POSIX_C_SOURCE 200112L /* clock_gettime */
#endif
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "check.h"
#include "module.h"

#ifdef _WIN32
static double milliseconds(void) {
  LARGE_INTEGER ticks, per_second;
  QueryPerformanceCounter(&ticks);
  QueryPerformanceFrequency(&per_second);
  return 1e3 * (double)ticks.QuadPart / (double)per_second.QuadPart;
}
#else
#include <time.h>
static double milliseconds(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return 1e3 * (double)now.tv_sec + 1e-6 * (double)now.tv_nsec;
}
#endif

typedef uintptr_t word;

static module_t library;
/* Calls a function with eight words; `moved` is by how many bytes the stack is off afterwards. */
static word call_words(void* function, const word* words, intptr_t* moved) {
#if defined(__i386__)
  word result;
  int count = 8;
  __asm__ volatile(
      "movl %%esp, %%esi\n\t"
      "1: pushl -4(%%ebx,%%ecx,4)\n\t"
      "decl %%ecx\n\t"
      "jnz 1b\n\t"
      "movl %%esp, %%edi\n\t"
      "call *%%eax\n\t"
      "subl %%esp, %%edi\n\t"
      "movl %%esi, %%esp"
      : "=a"(result), "=&D"(*moved), "+c"(count)
      : "0"(function), "b"(words)
      : "edx", "esi", "memory", "cc");
  return result;
#else
  typedef word(CALLER_CLEANS * eight)(word, word, word, word, word, word, word, word);
  *moved = 0;
  return ((eight)(intptr_t)function)(words[0], words[1], words[2], words[3], words[4], words[5],
                                     words[6], words[7]);
#endif
}

static word call(const char* name, word a, word b, word c, word d) {
  const word words[8] = {a, b, c, d, 0, 0, 0, 0};
  intptr_t moved = 0;
  word result;
  void* function = find(library, name);
  if (function == NULL) {
    ++failures;
    fprintf(stderr, "no %s\n", name);
    return 0;
  }
  result = call_words(function, words, &moved);
  if (moved != 0) {
    ++failures;
    fprintf(stderr, "%s leaves the stack %d bytes off\n", name, (int)-moved);
  }
  return result;
}

#define W(value) ((word)(value))
#define CALL0(name) call(name, 0, 0, 0, 0)
#define CALL1(name, a) call(name, W(a), 0, 0, 0)
#define CALL2(name, a, b) call(name, W(a), W(b), 0, 0)
#define CALL3(name, a, b, c) call(name, W(a), W(b), W(c), 0)
#define CALL4(name, a, b, c, d) call(name, W(a), W(b), W(c), W(d))
#define IS(expected, value) ((int32_t)(value) == (expected))

/* Creates an object, and frees it. */
static void lives(const char* make, const char* free_it) {
  const word object = CALL0(make);
  CHECK(object != 0);
  CALL1(free_it, object);
}
#if defined(__i386__)
static void __stdcall cleans_two(int a, int b) {
  (void)a, (void)b;
}

static void a_callee_that_cleans_is_noticed(void) {
  const word words[8] = {0};
  intptr_t moved = 0;
  call_words((void*)(intptr_t)cleans_two, words, &moved);
  CHECK(moved == -8);
}
#endif

/* Where the stack stood in each of the visits. */
static uintptr_t first_place;
static int visits, other_places;
static void CALLER_CLEANS visit(void* data, void* user) {
  const uintptr_t place = (uintptr_t)__builtin_frame_address(0);
  if (visits++ == 0) first_place = place;
  if (place != first_place || data != user) ++other_places;
}

static void CALLER_CLEANS stop_box(void* box, void* fired, int32_t timer, int32_t times) {
  (void)timer;
  *(int32_t*)fired = times;
  CALL1("kiv_box_BreakLoop", box);
}

static void runtime_and_containers(void) {
  static char region[4096];
  word list = 0, made;
  int i;
  CHECK(IS(1, CALL1("zu_sem_lock", made = CALL0("zu_sem_malloc"))));
  CHECK(IS(1, CALL1("zu_sem_unlock", made)));
  CALL1("zu_sem_free", made);
  CHECK(IS(0, CALL1("__kiv_sem_check", region)));
  CALL1("_zu_free", CALL1("_zu_malloc", 10));
  CHECK(CALL2("zu_mem_malloc", CALL2("zu_mem_init", region, sizeof region), 10) != 0);
  lives("zu_jitter_malloc", "zu_jitter_free");
  CALL1("zu_log_free", 0);
  CHECK(IS(1, CALL0("zu_console_Free")));
  CHECK(IS(0, CALL2("zu_stricmp", "ab", "AB")));
  for (i = 0; i < 1000; ++i) list = CALL2("zu_list_append", list, region);
  CALL3("zu_list_foreach", list, (intptr_t)visit, region);
  CHECK(visits == 1000 && other_places == 0);
  CALL3("zu_list_free_all", list, 0, 0);
  CHECK(IS(1, CALL3("zu_ihash_insert", made = CALL1("zu_ihash_malloc", 7), 5, region)));
  CALL1("zu_ihash_free", made);
  CALL1("zu_i64hash_free", CALL2("zu_i64hash_malloc", 7, 0)); /* 64 bits: two words of 32 */
  CHECK(IS(1, CALL3("zu_shash_insert", made = CALL1("zu_shash_malloc", 7), "key", region)));
  CALL1("zu_shash_free", made);
  CHECK(IS(0, CALL1("zu_xtree_nnodes", 0)));
  lives("zu_itree_malloc", "zu_itree_free");
  lives("zu_stree_malloc", "zu_stree_free");
  lives("kiv_queue_make", "kiv_queue_free");
  lives("kiv_stack_make", "kiv_stack_free");
}

static void boxes_and_messages(void) {
  int32_t fired = 0;
  word made;
  CHECK(IS(1, CALL1("zu_sock_IsRealIp", "127.0.0.1")));
  lives("zu_box_malloc", "zu_box_free");
  made = CALL0("kiv_box_new");
  CHECK((int32_t)CALL4("kiv_box_NewOnceTimer", made, 1, (intptr_t)stop_box, &fired) > 0);
  CALL1("kiv_box_loop", made);
  CHECK(fired == 1 && IS(0, CALL1("kivx_box_IsValid", made)));
  lives("kivx_ThreadBox_create", "kivx_ThreadBox_destroy");
  CALL1("kiv_bigbox_free", made = CALL2("kiv_bigbox_make", 2, 10));
  CHECK(made != 0);
  CHECK(IS(1, CALL2("kiv_proto_PackCmd", made = CALL0("kiv_proto_new"), "say")));
  CALL1("kiv_proto_free", made);
  CHECK(IS(1, CALL3("kiv_parse_pool_input", made = CALL0("kiv_parse_pool_malloc"), "a", 2)));
  CALL1("kiv_parse_pool_free", made);
  CALL1("kiv_cipher_free", made = CALL3("kiv_cipher_malloc", 1, "key", 3));
  CHECK(made != 0);
  CHECK(IS(1, CALL3("kiv_filter_insert", made = CALL0("kiv_filter_malloc"), "bad", "***")));
  CHECK(IS(1, CALL2("kiv_filter_IsHit", made, "so bad")));
  CALL1("kiv_filter_free", made);
  lives("kiv_uvc_make", "kiv_uvc_free");
  lives("kiv_uvs_make", "kiv_uvs_free");
}

static void http_and_system(const char* path) {
  char text[64];
  word made = CALL1("kiv_uri_malloc", "http://host/path");
  CHECK(made != 0 && strcmp((const char*)CALL1("kiv_uri_GetHost", made), "host") == 0);
  CALL1("kiv_uri_free", made);
  made = CALL1("kiv_http_table_ParseHeaderStr", "GET /x HTTP/1.1\r\nHost: h\r\n\r\n");
  CHECK(strcmp((const char*)CALL2("kiv_http_table_GetField", made, "host"), "h") == 0);
  CALL1("kiv_http_table_free", made);
  lives("kiv_http_filter_request_make", "kiv_http_filter_request_free");
  lives("kiv_http_request_make", "kiv_http_request_free");
  lives("kiv_http_server_make", "kiv_http_server_free");
  lives("kiv_proxy_http_make", "kiv_proxy_http_free");
  CALL1("zu_url_escape_free", CALL2("zu_url_escape_malloc", "a b", 3));
  CHECK(IS(1, CALL2("zu_md5_encode", text, "")) && strncmp(text, "d41d8cd9", 8) == 0);
  CHECK(IS(4, CALL3("zu_base64_encode", text, "abc", 3)) && memcmp(text, "YWJj", 4) == 0);
  CALL1("zu_cgi_free", CALL2("zu_cgi_malloc", "a=1", 3));
  made = CALL1("zu_config_make1", "[g]\r\nk=v\r\n");
  CHECK(strcmp((const char*)CALL3("zu_config_GetKey", made, "g", "k"), "v") == 0);
  CALL1("zu_config_free", made);
  CHECK(IS(1, CALL2("zu_pattern_match_simple", "a*", "abc")));
  CHECK(!IS(-1, CALL1("zu_DateParse", "06-Nov-1994 08:49:37 GMT")));
  CHECK((int32_t)CALL0("zu_GetPid") > 0);
  CHECK(IS(1, CALL1("zu_file1_IsExist", path)));
  CHECK(IS(1, CALL1("zu_file2_close", CALL2("zu_file2_open", path, 1))));
  CHECK(IS(1, CALL1("zu_dir1_IsExist", ".")));
  made = CALL2("zu_file_mapped_open", path, 0);
  CHECK(made != 0 && CALL1("zu_file_mapped_GetAddress", made) != 0);
  CALL1("zu_file_mapped_close", made);
  CHECK(CALL1("zu_shm_open", 0) == 0);
  made = CALL1("zu_module_load", path);
  CHECK(CALL2("zu_module_GetSymbol", made, "kiv_Setup") == W(find(library, "kiv_Setup")));
  CHECK(IS(1, CALL1("zu_module_unload", made)));
  CHECK(IS(-1, CALL1("zu_pidfile_read", "no such file")));
  CHECK(IS(-1, CALL1("zu_service_query", 0)));
  CHECK(!IS(1, CALL3("zu_TTY_ReadName", 0, 0, 0)));
}

static void every_name_is_found(const char* path) {
  char line[128];
  int found = 0;
  FILE* names = fopen(path, "r");
  CHECK(names != NULL);
  while (names != NULL && fgets(line, sizeof line, names) != NULL) {
    line[strcspn(line, "\r\n")] = '\0';
    if (line[0] == '\0' || line[0] == '#') continue;
    ++found;
    if (find(library, line) != NULL) continue;
    ++failures;
    fprintf(stderr, "no %s\n", line);
  }
  CHECK(found > 600);
  if (names != NULL) fclose(names);
}

int main(int count, char** arguments) {
  const double start = milliseconds();
  if (count != 3 || (library = load(arguments[1])) == NULL) {
    fprintf(stderr, "by_name LIBRARY FILE_OF_NAMES\n");
    return 1;
  }
  printf("loaded in %.2f ms\n", milliseconds() - start);
#if defined(__i386__)
  a_callee_that_cleans_is_noticed();
#endif
  every_name_is_found(arguments[2]);
  CHECK(IS(1, CALL0("kiv_Setup")));
  CHECK((int32_t)CALL0("kivx_Version") >= 10000);
  runtime_and_containers();
  boxes_and_messages();
  http_and_system(arguments[1]);
  CALL0("kiv_Shutdown");
  printf("%d failures\n", failures);
  return failures == 0 ? 0 : 1;
}
