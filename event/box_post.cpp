// Posting functions to the loop of a box.
#include "event/endpoint.h"
#include "event/kiv_box.h"
#include "platform/socket.h"

namespace kiv::event {
namespace {

// Takes all wakes at once: they are no events of the application.
Served serve_wake(zu_box&, Socket& socket, Kind, base::Guard&) {
  constexpr int kMost = 1000;  // anybody on this machine can send to it
  char ignored;
  for (int i = 0; i < kMost; ++i) {
    if (platform::socket_receive(socket.id, &ignored, 1) >= 0) continue;
    if (platform::last_error() != platform::kMessageTooLong) return Served::nothing;
  }
  return Served::called;
}

void wake(std::int32_t socket) {
  platform::WireAddress own;
  const char nothing = 0;
  if (platform::socket_local_address(socket, &own) == 0) {
    platform::socket_send_to(socket, &nothing, 1, own, sizeof own);
  }
}

}  // namespace

bool post(kiv_box* box, const Post& post) {
  if (post.run == nullptr) return false;
  // The wake is for a loop that may sleep; while posts wait it has been woken already.
  const int added = on_live_box(box, 0, Wake::for_new_id("Post"), [&](kiv_box& live) {
    switch (live.raw->posts.add(post)) {
      case PostQueue::Added::first:
        return 1;
      case PostQueue::Added::behind_others:
        return -1;
      default:
        return 0;
    }
  });
  return added != 0;
}

}  // namespace kiv::event

using namespace kiv::event;

int KIV_CALL zu_box_EnablePost(zu_box* box) KIV_NOEXCEPT {
  if (!is_usable(box)) return 0;
  if (box->wake_socket > 0) return 1;
  const std::int32_t socket = open_udp_server(kiv::platform::wire_address(kLoopback, 0));
  if (socket < 1) return 0;
  if (!add_wait(*box, Kind::read, socket, {serve_wake})) {
    kiv::platform::socket_close(socket);
    return 0;
  }
  box->wake_socket = socket;
  return 1;
}

int KIV_CALL zu_box_Post(zu_box* box, zu_box_post_fn post, void* argument,
                         zu_event_fn release) KIV_NOEXCEPT {
  if (!is_usable(box) || post == nullptr) return 0;
  const std::int32_t socket = box->wake_socket;
  switch (box->posts.add({post, argument, release, box->handle})) {
    case PostQueue::Added::refused:
      return 0;
    case PostQueue::Added::first:
      if (socket > 0) wake(socket);
      return 1;
    case PostQueue::Added::behind_others:
      return 1;
  }
  return 0;
}

int KIV_CALL kivx_box_Post(kiv_box* box, zu_box_post_fn function, void* argument,
                           zu_event_fn release) KIV_NOEXCEPT {
  return post(box, {function, argument, release, box});
}
