#include "native_client.h"

namespace chat {
namespace {

constexpr int kMaxTurnsWithoutProgress = 3;
constexpr std::size_t kNamesInAPacket = 4000;  // bytes

}  // namespace

void NativeClient::receive(std::string_view bytes) {
  if (!doom_.empty()) return;
  if (!stream_.put(bytes)) doom("sent more than there is room for");
  for (std::string bytes_of_one; doom_.empty() && !(bytes_of_one = stream_.next()).empty();) {
    if (in_.parse(bytes_of_one)) {
      obey();
    } else {
      send(out_.make("error", {{"reason", "this is no packet"}}));
    }
  }
  if (stream_.waiting() > shared_.limits.half_packet) doom("sent no packet");
}

void NativeClient::obey() {
  const std::string command = in_.command();
  if (command == "leave") {
    doom("left");
  } else if (command == "login" && name_.empty()) {
    login();
  } else if (name_.empty()) {
    send(out_.make("refused", {{"reason", "log in first"}}));
  } else if (command == "say") {
    shared_.room->say(name_, in_.value("text"));
  } else if (command == "who") {
    tell_who();
  } else {
    send(out_.make("error", {{"reason", "nothing is done for \"" + command + "\" here"}}));
  }
}

void NativeClient::login() {
  std::string name = in_.value("user");
  const std::string refusal = shared_.room->join(name);
  if (!refusal.empty()) {
    send(out_.make("refused", {{"reason", refusal}}));
    return;
  }
  name_ = name;
  send(out_.make("welcome", {{"user", name}}));
}

// As many names as one packet holds.
void NativeClient::tell_who() {
  std::string names;
  for (const std::string& name : shared_.room->people()) {
    if (names.size() + name.size() > kNamesInAPacket) break;
    names += name + '\n';
  }
  if (!names.empty()) names.pop_back();
  const std::string count = std::to_string(shared_.room->people().size());
  send(out_.make("people", {{"count", count}, {"names", names}}));
}

void NativeClient::hear(const Message& message) {
  if (name_.empty()) return;
  if (message.kind != Kind::said) {
    send(out_.make(message.kind == Kind::joined ? "joined" : "left", {{"user", message.from}}));
  } else if (message.is_marked) {
    send(out_.make("said", {{"from", message.from}, {"text", message.text}, {"marked", "yes"}}));
  } else {
    send(out_.make("said", {{"from", message.from}, {"text", message.text}}));
  }
}

// Any thread may bring the bytes; what the system does not take at once waits for room.
void NativeClient::send(const std::string& bytes) {
  if (!doom_.empty()) return;
  if (unsent_.size() + bytes.size() > shared_.limits.backlog) {
    doom("does not read");
    unsent_.clear();
    return;
  }
  unsent_ += bytes;
  if (!waits_for_room_) send_rest();
}

void NativeClient::send_rest() {
  const std::int32_t sent = shared_.box.write(socket_, unsent_);
  if (sent > 0) {
    unsent_.erase(0, static_cast<std::size_t>(sent));
    turns_without_progress_ = 0;
  }
  if (unsent_.empty() || waits_for_room_) return;
  waits_for_room_ = shared_.box.import_for_write(socket_, shared_.on_writable);
  if (!waits_for_room_) doom("cannot be written to");
}

// A send that fails does not say why: a socket that has room time and again and takes nothing is a
// broken one.
void NativeClient::on_writable() {
  const std::size_t before = unsent_.size();
  if (before > 0) send_rest();
  if (unsent_.empty()) {
    shared_.box.export_for_write(socket_);
    waits_for_room_ = false;
  } else if (unsent_.size() == before && ++turns_without_progress_ == kMaxTurnsWithoutProgress) {
    doom("cannot be written to");
  }
}

void NativeClient::look_at_clock(Clock::time_point now) {
  if (name_.empty() && now - since_ > shared_.limits.login) doom("gave no name");
}

}  // namespace chat
