// Memory of an idle box: the difference that many of them make, to this process and to the kernel.
//
//   memory_box boxes|slaves COUNT
//
// Boxes of one thread, or the slaves of one big box, each with its thread. The process's share is
// what it has resident by itself; the kernel's is its slabs, stacks and page tables, which every
// program of the machine changes: let nothing else run.
#include <cstring>

#include "bench/harness/process.h"
#include "kiv_base/base.h"
#include "kiv_base/event.h"

namespace {

struct Use {
  double process = bench::sum_of("/proc/self/smaps_rollup", {"Private_Dirty:", "Private_Clean:"});
  double kernel = bench::sum_of("/proc/meminfo", {"Slab:", "KernelStack:", "PageTables:"});
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  bench::raise_descriptor_limit();
  kiv_Setup();
  const int count = std::atoi(argv[2]);
  kiv_box_new();  // what the first one sets up for all
  const Use before;
  if (std::strcmp(argv[1], "slaves") == 0) {
    if (!kiv_bigbox_make(count, 50000)) bench::give_up("big box");
  } else {
    for (int i = 0; i < count; ++i) {
      if (!kiv_box_new()) bench::give_up("box");
    }
  }
  const Use after;
  const double process = (after.process - before.process) / count;
  const double kernel = (after.kernel - before.kernel) / count;
  bench::report("process_kib", process);
  bench::report("kernel_kib", kernel);
  bench::report("total_kib", process + kernel);
  std::_Exit(0);
}
