// The order of serving that a program's argument names: "strict" or "fair".
#ifndef KIV_BENCH_HARNESS_ORDER_H
#define KIV_BENCH_HARNESS_ORDER_H

#include <cstring>

#include "kiv_base/event.h"

namespace bench {

inline void choose_order(kiv_box* box, const char* order) {
  kivx_box_SetFairRounds(box, std::strcmp(order, "fair") == 0);
}

inline void choose_order(kiv_bigbox* big, const char* order) {
  kivx_bigbox_SetFairRounds(big, std::strcmp(order, "fair") == 0);
}

}  // namespace bench

#endif
