/* One call of every family from plain C, through the umbrella header and the built library. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kiv_base.h"

static int failures = 0;

#define CHECK(condition)                                            \
  do {                                                              \
    if (!(condition)) {                                             \
      ++failures;                                                   \
      fprintf(stderr, "line %d fails: %s\n", __LINE__, #condition); \
    }                                                               \
  } while (0)

static void KIV_CALL add(void* data, void* sum) {
  *(int*)sum += *(int*)data;
}

static int KIV_CALL text_order(const void* node_key, const void* probe, void* data) {
  (void)data;
  return strcmp((const char*)probe, (const char*)node_key);
}

static void runtime(void) {
  static char region[256];
  char text[64] = "";
  uintptr_t lock = zu_sem_malloc();
  void* pool = zu_mem_init(region, sizeof region);
  char* joined = zu_strdup2("ab", "cd");
  zu_log* log = zu_log_malloc("c_interface.log");
  CHECK(zu_sem_lock(lock) == 1 && zu_sem_unlock(lock) == 1);
  CHECK(__kiv_sem_insert(joined) == 1 && __kiv_sem_lock(joined) == 1 && __kiv_sem_unlock() == 1);
  __kiv_sem_remove(joined);
  CHECK(zu_mem_is_valid(pool, zu_mem_malloc(pool, 8)) == 1);
  CHECK(joined != NULL && zu_stricmp(joined, "ABCD") == 0);
  CHECK(zu_log_printf(log, "%s %d\n", "line", 1) == 1);
  zu_log_free(log);
  CHECK(zu_GetTextFileContent("c_interface.log", text, sizeof text) == 1);
  CHECK(strcmp(text, "line 1\n") == 0 && zu_DeleteFile("c_interface.log") == 0);
  CHECK(zu_console_printf("%d\n", 3) == 1);
  CHECK(zu_console_Shutdown() == 0 && zu_DeleteFile("zu_console.txt") == 0);
  _zu_free(joined);
  zu_sem_free(lock);
}

static void containers(void) {
  int one = 1, two = 2, sum = 0;
  void* found = NULL;
  char bytes[8] = "";
  zu_list* list = zu_list_append(zu_list_append(NULL, &one), &two);
  zu_ihash* by_id = zu_ihash_malloc(7);
  zu_i64hash* by_long = zu_i64hash_malloc(7);
  zu_shash* by_name = zu_shash_malloc(7);
  zu_xtree* tree = zu_xtree_new(text_order);
  zu_itree* itree = zu_itree_malloc();
  zu_stree* stree = zu_stree_malloc();
  zu_jitter* jitter = zu_jitter_mallocx(4, 4, NULL);
  zu_list_foreach(list, add, &sum);
  CHECK(sum == 3 && list->next->data == &two);
  CHECK(zu_ihash_insert(by_id, -5, &one) && zu_ihash_find(by_id, -5, &found) && found == &one);
  CHECK(zu_i64hash_insert(by_long, INT64_MIN, &two) && zu_i64hash_nnodes(by_long) == 1);
  CHECK(zu_shash_insert(by_name, "two", &two) && zu_shash_find(by_name, "two", &found) &&
        found == &two);
  CHECK(zu_xtree_insert(tree, (void*)"key", &one) && zu_xtree_find(tree, "key") == &one);
  CHECK(zu_itree_insert(itree, 9, &one) && zu_itree_find(itree, 9, &found) && found == &one);
  CHECK(zu_stree_insert(stree, "a", &two) && zu_stree_height(stree) == 1);
  CHECK(zu_jitter_SetData(jitter, "sevenb", 7) == 7 && zu_jitter_GetData(jitter, bytes, 8) == 7);
  CHECK(strcmp(bytes, "sevenb") == 0);
  zu_jitter_free(jitter);
  zu_stree_free(stree);
  zu_itree_free(itree);
  zu_xtree_destroy(tree);
  zu_shash_free(by_name);
  zu_i64hash_free(by_long);
  zu_ihash_free(by_id);
  zu_list_free_all(list, NULL, NULL);
}

static void KIV_CALL stop_box(void* box, void* fired, int32_t timer, int32_t times) {
  *(int*)fired += times;
  CHECK(kiv_box_GetThisTimerId((kiv_box*)box) == timer);
  kiv_box_BreakLoop((kiv_box*)box);
}

static void boxes_and_server(void) {
  int fired = 0;
  zu_box* raw = zu_box_malloc();
  kiv_box* box = kiv_box_new();
  kiv_http_server* server = kiv_http_server_make();
  CHECK(zu_sock_IsRealIp("127.0.0.1") == 1 && zu_box_sock_GetNumSock(raw) == 0);
  zu_box_free(raw);
  CHECK(kiv_http_server_attach(box, server, 0, NULL, NULL) == 0);
  CHECK(kiv_http_server_free(server) == 1);
  CHECK(kiv_box_NewOnceTimer(box, 1, stop_box, &fired) > 0);
  kiv_box_loop(box);
  CHECK(fired == 1 && kivx_box_IsValid(box) == 0);
}

static void http_and_encodings(void) {
  char text[33];
  char* encoded = NULL;
  int32_t status = 0;
  kiv_http_table* table = kiv_http_table_ParseHeaderStr("GET /x HTTP/1.1\r\nHost: h\r\n\r\n");
  kiv_http_filter* filter = kiv_http_filter_request_make();
  char* escaped = zu_url_escape_malloc("a b", 0);
  CHECK(table != NULL && strcmp(kiv_http_table_GetField(table, "host"), "h") == 0);
  CHECK(kiv_http_filter_request_input(filter, "GET / HT", 8) == 1);
  CHECK(kiv_http_filter_request_get(filter, NULL, &status) == NULL && status == KIV_HTTP_HEAD);
  CHECK(escaped != NULL && strcmp(escaped, "a+b") == 0);
  CHECK(zu_base64_encode00(&encoded, "hello", 5) == 8 && strcmp(encoded, "aGVsbG8=") == 0);
  CHECK(zu_base64_decode(text, encoded, sizeof text) == 5 && memcmp(text, "hello", 5) == 0);
  CHECK(zu_md5_encode(text, "") == 1 && strcmp(text, "d41d8cd98f00b204e9800998ecf8427e") == 0);
  free(encoded);
  zu_url_escape_free(escaped);
  kiv_http_filter_request_free(filter);
  kiv_http_table_free(table);
}

int main(void) {
  CHECK(kiv_Setup() == 1);
  runtime();
  containers();
  boxes_and_server();
  http_and_encodings();
  CHECK(zu_RandomValue() >= 0 && zu_GetPid() > 0);
  CHECK(kiv_Shutdown() == 0);
  return failures == 0 ? 0 : 1;
}
