// The search in sorted arrays.
#include <cstdint>

#include "kiv_base/base.h"

int KIV_CALL zu_SortFind(const void* base, int32_t size, int32_t count, const void* key,
                         zu_sort_compare_fn compare, int32_t* index) KIV_NOEXCEPT {
  if (base == nullptr || compare == nullptr || size < 1 || count < 1) return 0;
  const auto* elements = static_cast<const char*>(base);
  std::int32_t low = 0;
  std::int32_t width = count;
  for (;;) {
    const std::int32_t half = width / 2;
    const std::int32_t middle = low + half;
    const int order = compare(elements + std::int64_t{middle} * size, key);
    if (order == 0) {
      if (index != nullptr) *index = middle;
      return 1;
    }
    if (half == 0) return 0;
    // Both halves keep the middle on one side, and a window of one is always examined.
    if (order < 0) low = middle;
    width -= half;
  }
}
