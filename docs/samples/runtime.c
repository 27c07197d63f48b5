/* A log, a memory pool, and an object whose handle is known to be dead once it is freed. */
#include <stdio.h>
#include <string.h>

#include "kiv_base.h"

static void log_something(void) {
  char text[256] = "";
  char* const folder = zu_dir1_MakeTemp("manual");
  char* const path = zu_strdup2(folder, "/service.log");
  zu_log* const log = zu_log_malloc(path);
  zu_log_notice(log, "started with %d workers\n", 4);
  zu_log_printf(log, "a line as it is\n");
  zu_log_free(log);
  zu_GetTextFileContent(path, text, (int32_t)sizeof text);
  printf("%s", text + strlen("2009-03-07 09:05:01 "));
  zu_DeleteFile(path);
  zu_dir1_remove(folder);
  _zu_free(path);
  _zu_free(folder);
}

static void use_a_pool(void) {
  char region[1024];
  uint32_t used = 0, unused = 0;
  void* const pool = zu_mem_init(region, (uint32_t)sizeof region);
  void* const first = zu_mem_malloc(pool, 100);
  void* const second = zu_mem_malloc(pool, 200);
  zu_mem_free(pool, first);
  zu_mem_info(pool, NULL, NULL, &used, &unused);
  printf("%u block used, %u free; valid: %d, %d\n", (unsigned)used, (unsigned)unused,
         zu_mem_is_valid(pool, first), zu_mem_is_valid(pool, second));
}

/* An object of the application in the registry of live objects. */
typedef struct counter {
  int32_t value;
} counter;

static counter* counter_make(void) {
  counter* const made = (counter*)_zu_malloc((int32_t)sizeof(counter));
  if (made == NULL) return NULL;
  made->value = 0;
  if (__kiv_sem_insert(made)) return made;
  _zu_free(made);
  return NULL;
}

/* The new value; 0 for a counter that is not there any more. */
static int32_t counter_add(counter* handle, int32_t count) {
  int32_t value;
  if (!__kiv_sem_lock(handle)) return 0;
  value = handle->value += count;
  __kiv_sem_unlock();
  return value;
}

static void counter_free(counter* handle) {
  if (!__kiv_sem_lock(handle)) return;
  __kiv_sem_remove(handle);
  _zu_free(handle);
  __kiv_sem_unlock();
}

int main(void) {
  counter* count;
  kiv_Setup();
  log_something();
  use_a_pool();
  count = counter_make();
  if (count == NULL) return 1;
  counter_add(count, 2);
  printf("living: %d\n", (int)counter_add(count, 3));
  counter_free(count);
  printf("freed: %d\n", (int)counter_add(count, 4));
  kiv_Shutdown();
  return 0;
}
