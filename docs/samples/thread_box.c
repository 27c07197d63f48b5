/* Work on a box that has a thread of its own, and the answer back on the main thread. */
#include <stdio.h>

#include "kiv_base.h"

typedef struct job {
  kiv_box* main_box;
  int32_t thread;
  int32_t runs;
} job;

/* On the worker's thread: nobody else touches the job until the main loop is broken. */
static void KIV_CALL on_timer(void* worker, void* argument, int32_t timer, int32_t times_fired) {
  job* const work = (job*)argument;
  work->thread = zu_GetPid();
  work->runs = times_fired;
  if (times_fired < 3) return;
  kiv_box_DeleteTimer((kiv_box*)worker, timer);
  kiv_box_BreakLoop(work->main_box); /* from another thread than the main box's: wakes it */
}

int main(void) {
  job work = {NULL, 0, 0};
  kiv_box* worker;
  kiv_Setup();
  work.main_box = kiv_box_new();
  worker = kivx_ThreadBox_create();
  if (work.main_box == NULL || worker == NULL) return 1;
  printf("the box lives on another thread: %d\n", kivx_box_GetThreadId(worker) != zu_GetPid());
  kiv_box_NewLimitTimer(worker, 3, 10, on_timer, &work);
  kiv_box_loop(work.main_box);
  printf("%d runs there: %d\n", (int)work.runs, work.thread == kivx_box_GetThreadId(worker));

  kivx_ThreadBox_destroy(worker); /* does not wait, so this does */
  while (kivx_box_GetThreadId(worker) == work.thread) zu_sleep(1);
  kiv_Shutdown();
  return 0;
}
