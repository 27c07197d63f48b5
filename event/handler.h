// The callbacks of a box.
#pragma once

#include "base/callback.h"
#include "kiv_base/event.h"

namespace kiv::event {

using SocketHandler = base::Callback<zu_box_socket_fn>;
using ReadHandler = base::Callback<zu_box_read_fn>;
using AcceptHandler = base::Callback<zu_box_accept_fn>;
using DatagramHandler = base::Callback<zu_box_datagram_fn>;
using TimerHandler = base::Callback<zu_box_timer_fn>;

}  // namespace kiv::event
