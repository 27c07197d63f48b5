// The order of serving that a program's argument names: "strict" or "fair".
#ifndef KIV_BENCH_HARNESS_ORDER_H
#define KIV_BENCH_HARNESS_ORDER_H

#include <cstdlib>
#include <cstring>

#include "kiv_base/event.h"

namespace bench {

inline void choose_order(kiv_box* box, const char* order) {
  const bool fair = std::strcmp(order, "fair") == 0;
#ifdef KIV_BENCH_FAIR
  kivx_box_SetFairRounds(box, fair);
#else
  (void)box;
  if (fair) std::exit(77);
#endif
}

inline void choose_order(kiv_bigbox* big, const char* order) {
  const bool fair = std::strcmp(order, "fair") == 0;
#ifdef KIV_BENCH_FAIR
  kivx_bigbox_SetFairRounds(big, fair);
#else
  (void)big;
  if (fair) std::exit(77);
#endif
}

}  // namespace bench

#endif
