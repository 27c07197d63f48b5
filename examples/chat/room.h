// The room: who is there, and what was said lately.
//
// People come from two sides: native clients from the threads of the big box, browsers from the
// thread of the HTTP box. One mutex, Room::mutex, guards the room and both sides: every callback
// takes it first and may then call the library, which never calls back with a lock of its own held.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "word_list.h"

namespace chat {

enum class Kind { said, joined, left };

struct Message {
  std::uint64_t number = 0;  // from 1
  Kind kind = Kind::said;
  std::string from;
  std::string text;
  bool is_marked = false;
};

class Room {
 public:
  static constexpr std::size_t kMaxName = 32;
  static constexpr std::size_t kMaxText = 1000;
  static constexpr std::size_t kMaxPeople = 5000;
  static constexpr std::size_t kHistory = 500;

  using Listener = std::function<void(const Message&)>;

  explicit Room(WordList words) : words_(std::move(words)) {}

  std::mutex mutex;

  // Everything below is for holders of the mutex.

  // Is told of every message.
  void listen(Listener listener) { listeners_.push_back(std::move(listener)); }

  // Lets somebody in under the cleaned name, which `name` then is. Gives why not; empty: done.
  std::string join(std::string& name);
  void leave(const std::string& name);
  void say(const std::string& from, std::string_view text);

  const std::set<std::string>& people() const { return people_; }
  const std::deque<Message>& history() const { return history_; }
  std::uint64_t last_number() const { return last_number_; }

 private:
  void tell(Kind kind, const std::string& from, std::string text);

  WordList words_;
  std::set<std::string> people_;
  std::deque<Message> history_;
  std::uint64_t last_number_ = 0;
  std::vector<Listener> listeners_;
};

}  // namespace chat
