// The live big boxes of the process, their one lock, and the pattern of every operation on them.
#pragma once

#include "base/guard.h"
#include "base/registry.h"
#include "event/bigbox_records.h"

namespace kiv::event {

// Set-up makes the registry present, which kiv_bigbox_make does too. After a shut-down the handles
// are unknown and the read buffers gone; the threads run on, under the same lock.
bool bigbox_registry_setup();
void bigbox_registry_shutdown();

base::Registry& bigbox_registry();

// Runs op(big) with the lock held when the handle is a live big box. The lock of the boxes may be
// taken within, never the other way round.
template <typename Result, typename Operation>
Result on_live_bigbox(kiv_bigbox* big, Result failure, Operation op) {
  base::Registry& registry = bigbox_registry();
  if (big == nullptr || !registry.present()) return failure;
  const base::Guard guard(registry.lock());
  return registry.contains_nolock(big) ? op(*big) : failure;
}

}  // namespace kiv::event
