// A command-line chat client on kiv_base.
//
//   chat_client [--host HOST] [--port N] NAME
//
// Lines that are typed are said; /who tells who is there, /quit leaves. What others say goes to
// standard output, a line each. Exit status 0 after /quit or the end of input, 1 when the host
// refuses or is lost, 2 for a wrong command line.
//
// A thread of its own reads standard input, which no event loop can wait for on every system. It
// sends through the box, which any thread may use.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <semaphore>
#include <string>
#include <thread>

#include "../http_files/text.h"
#include "kiv_base/cpp/box.hpp"
#include "kiv_base/cpp/runtime.hpp"
#include "message_text.h"
#include "packet.h"

namespace {

using namespace chat;

constexpr const char* kUsage = "usage: chat_client [--host HOST] [--port N] NAME";

struct Client {
  std::string host = "127.0.0.1", name;
  std::uint16_t port = 8081;
  kiv::BoxRef box;
  kiv::SocketId socket = -1;
  PacketStream stream;
  Packet in, out;  // of the loop's thread, and of the one that reads lines
  std::counting_semaphore<> may_write{0};
  std::atomic<bool> leaves = false;  // by its own will, so that the end is no failure
  bool is_refused = false;
  int status = 1;

  // What the box calls.
  void on_connect(kiv::BoxRef at, kiv::SocketId id);
  void on_failure(kiv::BoxRef at, kiv::SocketId id);
  void on_read(kiv::BoxRef at, kiv::SocketId id, std::string_view data);
  void on_close(kiv::BoxRef at, kiv::SocketId id);
  void on_writable();
};

int fail(const std::string& why, int status) {
  std::fprintf(stderr, "chat_client: %s\n", why.c_str());
  return status;
}

void say(const std::string& line) {
  std::fputs((line + '\n').c_str(), stdout);
  std::fflush(stdout);
}

void Client::on_writable() {
  box.export_for_write(socket);
  may_write.release();
}

// Returns when the system has taken it all, or the connection is gone.
void send(Client& client, std::string bytes) {
  while (!bytes.empty() && client.box.is_live()) {
    const std::int32_t sent = client.box.write(client.socket, bytes);
    if (sent > 0) bytes.erase(0, static_cast<std::size_t>(sent));
    if (bytes.empty()) return;
    if (!client.box.import_for_write(client.socket, kiv::bind<&Client::on_writable>(client)))
      return;
    client.may_write.acquire();
  }
}

void read_lines(Client& client) {
  send(client, client.out.make("login", {{"user", client.name}}));
  for (std::string line; std::getline(std::cin, line) && line != "/quit";) {
    if (line == "/who") {
      send(client, client.out.make("who", {}));
    } else if (!line.empty()) {
      send(client, client.out.make("say", {{"text", clean_text(line, 4000)}}));
    }
  }
  client.leaves = true;
  send(client, client.out.make("leave", {}));
}

void show(Client& client) {
  const Packet& packet = client.in;
  const std::string command = packet.command();
  if (command == "said") {
    const bool is_marked = !packet.value("marked").empty();
    say(packet.value("from") + ": " + packet.value("text") + (is_marked ? "  [marked]" : ""));
  } else if (command == "joined") {
    say("* " + packet.value("user") + " joined");
  } else if (command == "left") {
    say("* " + packet.value("user") + " left");
  } else if (command == "welcome") {
    client.status = 0;
    say("* in the room as " + packet.value("user"));
  } else if (command == "people") {
    std::string names = packet.value("names");
    for (char& c : names) c = c == '\n' ? ' ' : c;
    say("* " + packet.value("count") + " here: " + names);
  } else if (command == "refused") {
    client.status = fail(packet.value("reason"), 1);
    client.is_refused = true;
    client.box.break_loop();
  } else {
    fail(packet.value("reason"), 1);
  }
}

void Client::on_read(kiv::BoxRef, kiv::SocketId, std::string_view data) {
  stream.put(data);
  for (std::string bytes; !is_refused && !(bytes = stream.next()).empty();) {
    if (in.parse(bytes)) show(*this);
  }
}

void Client::on_close(kiv::BoxRef at, kiv::SocketId) {
  if (!leaves) status = fail("the host has closed the connection", 1);
  at.break_loop();
}

void Client::on_connect(kiv::BoxRef, kiv::SocketId) {
  std::thread([this] { read_lines(*this); }).detach();
}

void Client::on_failure(kiv::BoxRef at, kiv::SocketId) {
  fail("no host answers at " + host + ":" + std::to_string(port), 1);
  at.break_loop();
}

bool parse_arguments(int argc, char** argv, Client& client) {
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--host" && i + 1 < argc) {
      client.host = argv[++i];
    } else if (argument == "--port" && i + 1 < argc) {
      const auto port = http_files::parse_number(argv[++i]);
      if (!port || *port > 65535) return false;
      client.port = static_cast<std::uint16_t>(*port);
    } else if (argument.empty() || argument[0] == '-' || !client.name.empty()) {
      return false;
    } else {
      client.name = argument;
    }
  }
  return !client.name.empty();
}

}  // namespace

int main(int argc, char** argv) {
  static Client client;
  if (!parse_arguments(argc, argv, client)) return fail(kUsage, 2);
  kiv_Setup();
  kiv::Box box = kiv::Box::make();
  client.box = box;
  client.socket = client.box.connect(client.host, client.port, kiv::ClientCallbacks::of(client));
  if (client.socket < 1) return fail("there is no host '" + client.host + "'", 1);
  box.loop();
  std::fflush(stdout);
  // The other thread may still wait for a line.
  std::_Exit(client.status);
}
