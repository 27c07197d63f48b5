// Running a function on a box's thread from another thread.
//
//   post_box idle|flood SECONDS
#include <cstring>
#include <future>
#include <optional>

#include "bench/event/post_load.h"
#include "kiv_base/base.h"
#include "kiv_base/event.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::optional<bench::Flood> flood;
  if (std::strcmp(argv[1], "flood") == 0) flood.emplace();
  kiv_Setup();
  bench::Posting posting;
  std::promise<kiv_box*> made;
  std::thread([&made] {
    bench::pin(0);
    kiv_box* box = kiv_box_new();
    made.set_value(box);
    kiv_box_loop(box);
  }).detach();
  kiv_box* box = made.get_future().get();
  for (int i = 0; flood && i < bench::kPeers; ++i) {
    kiv_box_AcceptTcpClient(box, flood->near()[static_cast<std::size_t>(i)], nullptr, nullptr,
                            nullptr, nullptr);
  }
  const auto run = [](void*, void* on) { static_cast<bench::Posting*>(on)->run(); };
  posting.measure(std::atof(argv[2]), [&] { kivx_box_Post(box, run, &posting, nullptr); });
  flood.reset();
  std::_Exit(0);
}
