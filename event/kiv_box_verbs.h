// What the protocols do with boxes beyond what applications can.
#pragma once

#include <cstdint>

#include "event/box_sockets.h"
#include "event/kiv_box.h"

namespace kiv::event {

// kiv_box_NewTcpClient with a target that find_target has found.
std::int32_t connect(kiv_box* box, const platform::WireAddress& target,
                     const ClientHandlers& handlers);

// Starts to wait for one kind on a socket, with a function that works on it under the box's lock;
// `user` is the wait's argument. Like the import that it stands for, it wakes the loop.
bool start_waiting(kiv_box* box, std::int32_t socket, Kind kind, Serve serve, void* user);
// Ends one wait; the socket stays known, also if it waits for nothing else.
void stop_waiting(kiv_box* box, std::int32_t socket, Kind kind);

// Closes a socket that was adopted with this read handler, or with 0 every such socket. Its number
// alone says little: another thread may have deleted the socket that a handler was called for, and
// opened one of its own.
void close_adopted(kiv_box* box, const ReadHandler& read, std::int32_t socket);

}  // namespace kiv::event
