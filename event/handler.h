// An application callback with the argument that was given with it.
#pragma once

#include "kiv_base/event.h"

namespace kiv::event {

// Called only after the lock is released, on a copy.
template <typename Callback>
struct Handler {
  Callback callback = nullptr;
  void* argument = nullptr;

  template <typename... Arguments>
  void operator()(void* handle, Arguments... arguments) const {
    if (callback != nullptr) callback(handle, argument, arguments...);
  }
};
using SocketHandler = Handler<zu_box_socket_fn>;
using ReadHandler = Handler<zu_box_read_fn>;
using AcceptHandler = Handler<zu_box_accept_fn>;
using DatagramHandler = Handler<zu_box_datagram_fn>;
using TimerHandler = Handler<zu_box_timer_fn>;

}  // namespace kiv::event
