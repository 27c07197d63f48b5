/* One call of every family from plain C, through the umbrella header and the built library. */
#include <string.h>

#include "check.h"
#include "kiv_base.h"

static void runtime_and_containers(void) {
  int one = 1, two = 2;
  uintptr_t lock = zu_sem_malloc();
  char* joined = zu_strdup2("ab", "cd");
  zu_list* list = zu_list_append(zu_list_append(NULL, &one), &two);
  zu_i64hash* by_long = zu_i64hash_malloc(7);
  CHECK(zu_sem_lock(lock) == 1 && zu_sem_unlock(lock) == 1);
  CHECK(joined != NULL && zu_stricmp(joined, "ABCD") == 0);
  CHECK(zu_console_printf("%d\n", 3) == 1);
  CHECK(zu_console_Shutdown() == 0 && zu_DeleteFile("zu_console.txt") == 0);
  CHECK(list->next->data == &two);
  CHECK(zu_i64hash_insert(by_long, INT64_MIN, &two) && zu_i64hash_nnodes(by_long) == 1);
  zu_i64hash_free(by_long);
  zu_list_free_all(list, NULL, NULL);
  _zu_free(joined);
  zu_sem_free(lock);
}

static void KIV_CALL stop_box(void* box, void* fired, int32_t timer, int32_t times) {
  *(int*)fired += times;
  CHECK(kiv_box_GetThisTimerId((kiv_box*)box) == timer);
  kiv_box_BreakLoop((kiv_box*)box);
}

static void boxes(void) {
  int fired = 0;
  kiv_box* box = kiv_box_new();
  CHECK(kiv_box_NewOnceTimer(box, 1, stop_box, &fired) > 0);
  kiv_box_loop(box);
  CHECK(fired == 1 && kivx_box_IsValid(box) == 0);
  /* What was never a handle. */
  CHECK(kivx_box_IsValid((kiv_box*)&fired) == 0 && kivx_box_IsValid(NULL) == 0);
  CHECK(kiv_bigbox_nnodes((kiv_bigbox*)&fired) == 0 && kiv_bigbox_nnodes(NULL) == 0);
  CHECK(kiv_http_server_free((kiv_http_server*)&fired) == 0 && kiv_http_server_free(NULL) == 0);
  CHECK(kiv_uvs_free((kiv_uvs*)&fired) == 0 && kiv_uvc_free(NULL) == 0);
}

static void messages(void) {
  char text[33];
  kiv_proto* packet = kiv_proto_new();
  kiv_http_table* table = kiv_http_table_ParseHeaderStr("GET /x HTTP/1.1\r\nHost: h\r\n\r\n");
  zu_pattern* pattern = zu_pattern_make("*.txt");
  CHECK(kiv_proto_PackCmd(packet, "say") == 1 && kiv_proto_PackPara(packet, "text", "\"") == 1);
  CHECK(table != NULL && strcmp(kiv_http_table_GetField(table, "host"), "h") == 0);
  CHECK(zu_md5_encode(text, "") == 1 && strcmp(text, "d41d8cd98f00b204e9800998ecf8427e") == 0);
  CHECK(zu_pattern_match_string(pattern, "a.txt") == 1);
  zu_pattern_free(pattern);
  kiv_http_table_free(table);
  kiv_proto_free(packet);
}

int main(void) {
  CHECK(kiv_Setup() == 1);
  CHECK(kivx_Version() == KIV_BASE_VERSION && KIV_BASE_VERSION >= 10000);
  runtime_and_containers();
  boxes();
  messages();
  CHECK(kiv_Shutdown() == 0);
  return failures == 0 ? 0 : 1;
}
