// The poller of systems without epoll: poll() over all that is watched.
#include <new>

#include "platform/heap.h"
#include "platform/posix/watches.h"

namespace kiv::platform {

struct Poller::Backend {
  Watches watches;
};

std::int32_t Poller::capacity() noexcept {
  return INT32_MAX;
}

Poller::~Poller() {
  if (backend_ != nullptr) backend_->~Backend();
  heap_free(backend_);
}

bool Poller::open() noexcept {
  void* const memory = heap_alloc(sizeof(Backend));
  if (memory != nullptr) backend_ = new (memory) Backend;
  return backend_ != nullptr;
}

Poller::Watched Poller::watch(std::int32_t socket, Kinds kinds) noexcept {
  Watches& watches = backend_->watches;
  if (Watch* const watch = watches.find(socket)) {
    if (kinds == 0) {
      watches.remove(*watch);
    } else {
      watches.set_kinds(*watch, kinds);
    }
  } else if (kinds != 0 && watches.add(socket, kinds) == nullptr) {
    return Watched::out_of_memory;
  }
  return Watched::yes;
}

bool Poller::begin_wait() noexcept {
  backend_->watches.begin_poll();
  return true;
}

void Poller::wait(const std::int64_t* timeout_us) noexcept {
  backend_->watches.poll(timeout_us);
}

Poller::Result Poller::end_wait() noexcept {
  Watches& watches = backend_->watches;
  if (!watches.end_poll()) return Result::failed;
  if (!watches.dead.empty()) return Result::dead_socket;
  return watches.any_ready() ? Result::ready : Result::timed_out;
}

std::int32_t Poller::highest_ready(Kind kind, std::int32_t below) noexcept {
  return backend_->watches.ready[index_of(kind)].highest(below);
}

// What poll() found holds for the whole pass.
bool Poller::still_ready(Kind, std::int32_t) noexcept {
  return true;
}

void Poller::not_ready(Kind kind, std::int32_t socket) noexcept {
  backend_->watches.ready[index_of(kind)].erase(socket);
}

void Poller::was_short_read(std::int32_t) noexcept {}

// As the last wait found it; a number that was opened anew since is served like the old one.
bool Poller::is_dead(std::int32_t socket) noexcept {
  return backend_->watches.dead.contains(socket);
}

}  // namespace kiv::platform
