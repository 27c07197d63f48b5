// What happens when a client's socket is ready, on the thread of its slave.
#include "event/bigbox_core.h"
#include "event/bigbox_registry.h"
#include "event/box_registry.h"
#include "event/read_pool.h"
#include "platform/socket.h"
#include "platform/thread.h"

namespace kiv::event {
namespace {

// The client that the slave of this thread serves, if it still waits for that; another thread may
// have been faster. The loop that runs this call keeps the slave's box alive.
Client* served_client(const kiv_bigbox& big, Kind kind) {
  const Slave* slave = find_slave(big, platform::current_thread_id());
  if (slave == nullptr) return nullptr;
  auto* client = find_in<Client>(slave->clients, slave->box->raw->engine->this_socket());
  return client != nullptr && client->waits_for[index_of(kind)] ? client : nullptr;
}

// A client in the middle of a read.
struct Reading {
  Client* client = nullptr;  // in use
  std::int32_t socket = -1;
  ReadHandler read;
  SocketHandler close;
};

Reading begin_read(kiv_bigbox* big, ReadBuffer& buffer) {
  return on_live_bigbox(big, Reading{}, [&](kiv_bigbox& live) {
    Client* client = served_client(live, Kind::read);
    if (client == nullptr) return Reading{};
    begin_use(*client);
    buffer.take_large_nolock();
    return Reading{client, client->socket, client->read, client->close};
  });
}

}  // namespace

void KIV_CALL dispatch_client_read(void* argument) {
  auto* big = static_cast<kiv_bigbox*>(argument);
  ReadBuffer buffer;
  const Reading reading = begin_read(big, buffer);
  if (reading.client == nullptr) return;
  const std::int32_t length =
      platform::socket_receive(reading.socket, buffer.data(), buffer.size() - 1);
  const bool came_too_late = length < 0 && platform::last_error() == platform::kWouldBlock;
  end_use(*reading.client);
  if (length > 0) {
    buffer.data()[length] = '\0';
    reading.read(big, reading.socket, buffer.data(), length);
  } else if (!came_too_late) {
    // deliberate: the socket is still waited for, so this comes again every turn until the
    // application deletes it; hosts count on being reminded.
    reading.close(big, reading.socket);
  }
}

void KIV_CALL dispatch_client_write(void* argument) {
  auto* big = static_cast<kiv_bigbox*>(argument);
  std::int32_t socket = -1;
  const SocketHandler writable =
      on_live_bigbox(big, SocketHandler{}, [&](kiv_bigbox& live) -> SocketHandler {
        const Client* client = served_client(live, Kind::write);
        if (client == nullptr) return {};
        socket = client->socket;
        return client->writable;
      });
  writable(big, socket);
}

}  // namespace kiv::event
