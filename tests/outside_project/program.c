/* Succeeds when a timer fires. */
#include <kiv_base.h>

static void KIV_CALL on_timer(void* box, void* fired, int32_t timer, int32_t times) {
  (void)timer;
  *(int32_t*)fired = times;
  kiv_box_BreakLoop((kiv_box*)box);
}

int main(void) {
  kiv_box* box = kiv_box_new();
  int32_t* fired = (int32_t*)_zu_malloc(sizeof *fired);
  int32_t result;
  if (fired == NULL || kiv_box_NewOnceTimer(box, 1, on_timer, fired) < 0) return 2;
  *fired = 0;
  kiv_box_loop(box);
  result = *fired == 1 ? 0 : 1;
  _zu_free(fired);
  return result;
}
