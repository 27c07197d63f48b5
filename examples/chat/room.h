// The room: the people in it, and the latest messages.
//
// People come from two sides: native clients from the threads of the big box, browsers from the
// thread of the HTTP box. One mutex, Room::mutex, protects the room and both sides: every callback
// locks it first and may then call the library, which never calls back while it holds a lock.
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
  std::int64_t time_ms = 0;  // since 1970
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

  // Hold the mutex for everything below.

  // Registers a listener, which is called for every message.
  void listen(Listener listener) { listeners_.push_back(std::move(listener)); }

  // Adds a person under the cleaned name, which is stored in `name`. Returns an empty string, or
  // the reason for a refusal.
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
