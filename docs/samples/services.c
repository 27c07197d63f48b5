/* Files, directories, a lock between processes, shared memory, one instance, and a service. */
#include <stdio.h>
#include <string.h>

#include "kiv_base.h"

static int KIV_CALL print_entry(void* argument, const char* name, int kind, int64_t size) {
  (void)argument;
  if (kind == ZU_DIR1_FILE) printf("%s: %d bytes\n", name, (int)size);
  return 1; /* 0 would end the walk */
}

static void use_files(const char* folder) {
  char* const path = zu_strdup2(folder, "/data.txt");
  int64_t length = 0;
  char* text;
  zu_file2* file;
  zu_file_mapped* mapped;
  zu_file1_Write(path, "written in one step", 19);
  file = zu_file2_open(path, ZU_FILE2_READ | ZU_FILE2_APPEND);
  if (zu_file2_lock(file)) zu_file2_write(file, ", then more", 11);
  zu_file2_close(file); /* and unlocks */
  text = zu_file1_Read(path, &length);
  printf("%s\n", text);
  _zu_free(text);
  mapped = zu_file_mapped_open(path, 0);
  text = (char*)zu_file_mapped_GetAddress(mapped);
  if (text != NULL) printf("mapped: %.7s\n", text);
  zu_file_mapped_close(mapped);
  zu_dir1_walk(folder, 1, print_entry, NULL);
  _zu_free(path);
}

/* Every process that opens the name has the same memory. */
static void share_memory(void) {
  char name[32] = "manual-";
  zu_shm* block;
  zu_shm* other;
  zu_RandomStr(name + strlen(name), 16);
  block = zu_shm_create(name, 4096);
  other = zu_shm_open(name);
  if (block != NULL && other != NULL && zu_shm_lock(block)) {
    *(int32_t*)zu_shm_GetAddress(block) = 42;
    zu_shm_unlock(block);
    printf("shared: %d\n", (int)*(int32_t*)zu_shm_GetAddress(other));
  }
  zu_shm_remove(name);
  zu_shm_close(other);
  zu_shm_close(block);
}

static void run_once(const char* folder) {
  char* const path = zu_strdup2(folder, "/instance.pid");
  zu_pidfile* const mine = zu_pidfile_make(path);
  printf("this process holds it: %d\n", zu_pidfile_read(path) == zu_GetProcessId());
  zu_pidfile_free(mine);
  _zu_free(path);
}

/* A service: its loop is a box's. */
static kiv_box* box;

static void KIV_CALL stop_loop(void* on_box, void* argument, int32_t timer, int32_t times_fired) {
  (void)argument, (void)timer, (void)times_fired;
  kiv_box_BreakLoop((kiv_box*)on_box); /* this program's work is over soon */
}

static int KIV_CALL start(void* argument) {
  (void)argument;
  box = kiv_box_new();
  return kiv_box_NewOnceTimer(box, 10, stop_loop, NULL) > 0;
}

static void KIV_CALL work(void* argument) {
  (void)argument;
  kiv_box_loop(box);
}

static void KIV_CALL stop(void* argument) {
  (void)argument;
  kiv_box_BreakLoop(box);
}

int main(void) {
  static const zu_service_callbacks callbacks = {start, work, stop, NULL, NULL};
  char* const folder = zu_dir1_MakeTemp("manual");
  kiv_Setup();
  if (folder == NULL) return 1;
  use_files(folder);
  share_memory();
  run_once(folder);
  printf("all removed: %d\n", zu_dir1_RemoveAll(folder));
  _zu_free(folder);
  printf("ran as a service: %d\n", zu_service_run("manual", &callbacks, NULL));
  kiv_Shutdown();
  return 0;
}
