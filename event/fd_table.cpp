#include "event/fd_table.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <new>

#include "base/owned.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

static_assert(sizeof(void*) != 4 || sizeof(FdRecord) == 16);
static_assert(sizeof(void*) != 4 ||
              (offsetof(FdTable, images) == 24 && offsetof(FdTable, total) == 24 + 3 * 4100 &&
               offsetof(FdTable, highest) == 24 + 3 * 4100 + 4 &&
               offsetof(FdTable, current) == 24 + 3 * 4100 + 8));

FdNode* node_at(zu_list* link) {
  return reinterpret_cast<FdNode*>(link);
}

// Sorted by descending socket; sockets differ within a list. New sockets tend to be high ones, so
// the walk tends to be short.
void link_sorted(FdList& list, FdNode* node) {
  zu_list* before = nullptr;
  zu_list* after = list.first;
  while (after != nullptr && node->record.socket <= node_at(after)->record.socket) {
    before = after;
    after = after->next;
  }
  node->link.prev = before;
  node->link.next = after;
  (before != nullptr ? before->next : list.first) = &node->link;
  if (after != nullptr) after->prev = &node->link;
}

void unlink(FdList& list, const FdNode* node) {
  zu_list* const before = node->link.prev;
  zu_list* const after = node->link.next;
  (before != nullptr ? before->next : list.first) = after;
  if (after != nullptr) after->prev = before;
}

// Where the socket is, or would be, in the order of the image.
std::int32_t place_in(const platform::SocketSet& image, std::int32_t socket) {
  const std::int32_t* const end = image.sockets + image.count;
  return static_cast<std::int32_t>(std::lower_bound(image.sockets, end, socket, std::greater<>()) -
                                   image.sockets);
}

void add_to_image(platform::SocketSet& image, std::int32_t socket) {
  std::int32_t* const place = image.sockets + place_in(image, socket);
  std::copy_backward(place, image.sockets + image.count, image.sockets + image.count + 1);
  *place = socket;
  ++image.count;
}

void remove_from_image(platform::SocketSet& image, std::int32_t socket) {
  std::int32_t* const place = image.sockets + place_in(image, socket);
  std::copy(place + 1, image.sockets + image.count, place);
  --image.count;
}

}  // namespace

FdTable::FdTable() noexcept {
  for (platform::SocketSet& image : images) image.count = 0;
}

bool FdTable::add(Kind kind, std::int32_t socket, zu_event_fn callback, void* user) noexcept {
  const int k = index_of(kind);
  if (socket < 0 || callback == nullptr) return false;
  if (lists[k].count >= platform::kMaxSockets || find(kind, socket) != nullptr) return false;
  auto memory = base::Owned<FdNode>::allocate();
  if (!memory || !index[k].insert(socket, memory.get())) return false;

  auto* node = new (memory.release()) FdNode{{}, {kind, socket, callback, user}, pass};
  node->link.data = &node->record;
  add_to_image(images[k], socket);
  highest = std::max(highest, socket);
  ++lists[k].count;
  ++total;
  link_sorted(lists[k], node);
  return true;
}

const FdRecord* FdTable::find(Kind kind, std::int32_t socket) const noexcept {
  const auto* node = static_cast<const FdNode*>(index[index_of(kind)].find(socket));
  return node == nullptr ? nullptr : &node->record;
}

bool FdTable::remove(Kind kind, std::int32_t socket) noexcept {
  const int k = index_of(kind);
  auto* node = static_cast<FdNode*>(index[k].find(socket));
  if (node == nullptr) return false;
  index[k].erase(socket);
  remove_from_image(images[k], socket);
  unlink(lists[k], node);
  _zu_free(node);
  --lists[k].count;
  --total;
  highest = -1;
  for (const FdList& list : lists) {
    if (list.first != nullptr) highest = std::max(highest, node_at(list.first)->record.socket);
  }
  return true;
}

void FdTable::clear() noexcept {
  for (Kind kind : kKinds) {
    const int k = index_of(kind);
    for (zu_list* link = lists[k].first; link != nullptr;) {
      zu_list* const next = link->next;
      _zu_free(node_at(link));
      link = next;
    }
    lists[k] = {};
    images[k].count = 0;
    index[k].clear();
  }
  total = 0;
  highest = -1;
}

bool FdTable::took_part(Kind kind, std::int32_t socket) const noexcept {
  const auto* node = static_cast<const FdNode*>(index[index_of(kind)].find(socket));
  return node != nullptr && node->born != pass;
}

std::int32_t FdTable::count_down_to(Kind kind, std::int32_t socket) const noexcept {
  return place_in(images[index_of(kind)], socket - 1);
}

const FdRecord* FdTable::first_ready(Kind kind, const platform::SocketSet& ready) const noexcept {
  const FdNode* best = nullptr;
  for (std::int32_t i = 0; i < ready.count; ++i) {
    if (best != nullptr && ready.sockets[i] <= best->record.socket) continue;
    const auto* node = static_cast<const FdNode*>(index[index_of(kind)].find(ready.sockets[i]));
    // A socket closed during the wait may be gone, or its number may belong to a new one.
    if (node != nullptr && node->born != pass) best = node;
  }
  return best == nullptr ? nullptr : &best->record;
}

bool FdTable::sweep_one_dead_socket() noexcept {
  for (Kind kind : kKinds) {
    for (zu_list* link = lists[index_of(kind)].first; link != nullptr; link = link->next) {
      const std::int32_t socket = node_at(link)->record.socket;
      // Asks for no pending error: that would take it from a socket that is connecting.
      if (platform::socket_is_open(socket)) continue;
      std::printf("_zu_fd_delete_InvalidFd_foreach()->InvalidFd=%d\n", static_cast<int>(socket));
      return remove(kind, socket);
    }
  }
  return false;
}

}  // namespace kiv::event
