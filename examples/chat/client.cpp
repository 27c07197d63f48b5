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
#include "kiv_base/base.h"
#include "kiv_base/event.h"
#include "message_text.h"
#include "packet.h"

namespace {

using namespace chat;

constexpr const char* kUsage = "usage: chat_client [--host HOST] [--port N] NAME";

struct Client {
  std::string host = "127.0.0.1", name;
  std::uint16_t port = 8081;
  kiv_box* box = nullptr;
  std::int32_t socket = -1;
  PacketStream stream;
  Packet in, out;  // of the loop's thread, and of the one that reads lines
  std::counting_semaphore<> may_write{0};
  std::atomic<bool> leaves = false;  // by its own will, so that the end is no failure
  bool is_refused = false;
  int status = 1;
};

int fail(const std::string& why, int status) {
  std::fprintf(stderr, "chat_client: %s\n", why.c_str());
  return status;
}

void say(const std::string& line) {
  std::fputs((line + '\n').c_str(), stdout);
  std::fflush(stdout);
}

void KIV_CALL on_writable(void* user) {
  auto& client = *static_cast<Client*>(user);
  kivx_box_ExportSockId_ForWrite(client.box, client.socket);
  client.may_write.release();
}

// Returns when the system has taken it all, or the connection is gone.
void send(Client& client, std::string bytes) {
  while (!bytes.empty() && kivx_box_IsValid(client.box) == 1) {
    const std::int32_t sent = kiv_box_TcpWrite(client.box, client.socket, bytes.data(),
                                               static_cast<std::int32_t>(bytes.size()));
    if (sent > 0) bytes.erase(0, static_cast<std::size_t>(sent));
    if (bytes.empty()) return;
    if (kivx_box_ImportSockId_ForWrite(client.box, client.socket, on_writable, &client) != 1)
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
    say("* " + packet.value("user") + " came in");
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
    kiv_box_BreakLoop(client.box);
  } else {
    fail(packet.value("reason"), 1);
  }
}

void KIV_CALL on_read(void*, void* user, std::int32_t, char* data, std::int32_t length) {
  auto& client = *static_cast<Client*>(user);
  client.stream.put(std::string_view(data, static_cast<std::size_t>(length)));
  for (std::string bytes; !client.is_refused && !(bytes = client.stream.next()).empty();) {
    if (client.in.parse(bytes)) show(client);
  }
}

void KIV_CALL on_close(void*, void* user, std::int32_t) {
  auto& client = *static_cast<Client*>(user);
  if (!client.leaves) client.status = fail("the host has closed the connection", 1);
  kiv_box_BreakLoop(client.box);
}

void KIV_CALL on_connect(void*, void* user, std::int32_t) {
  auto& client = *static_cast<Client*>(user);
  std::thread([&client] { read_lines(client); }).detach();
}

void KIV_CALL on_failure(void*, void* user, std::int32_t) {
  auto& client = *static_cast<Client*>(user);
  fail("no host answers at " + client.host + ":" + std::to_string(client.port), 1);
  kiv_box_BreakLoop(client.box);
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
  client.box = kiv_box_new();
  client.socket =
      kiv_box_NewTcpClient(client.box, client.host.c_str(), client.port, on_connect, &client,
                           on_failure, &client, on_read, &client, on_close, &client);
  if (client.socket < 1) return fail("there is no host '" + client.host + "'", 1);
  kiv_box_loop(client.box);
  std::fflush(stdout);
  // The other thread may still wait for a line.
  std::_Exit(client.status);
}
