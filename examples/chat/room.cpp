#include "room.h"

#include "kiv_base/base.h"
#include "message_text.h"

namespace chat {

std::string Room::join(std::string& name) {
  name = clean_name(name, kMaxName);
  if (name.empty()) return "a name is needed";
  if (people_.size() >= kMaxPeople) return "the room is full";
  if (!people_.insert(name).second) return "the name is taken";
  tell(Kind::joined, name, {});
  return {};
}

void Room::leave(const std::string& name) {
  if (people_.erase(name) == 1) tell(Kind::left, name, {});
}

void Room::say(const std::string& from, std::string_view text) {
  std::string clean = clean_text(text, kMaxText);
  if (!clean.empty()) tell(Kind::said, from, std::move(clean));
}

void Room::tell(Kind kind, const std::string& from, std::string text) {
  const bool is_marked = words_.marks(text);
  history_.push_back({++last_number_, kind, from, std::move(text), is_marked, zu_timenow() / 1000});
  if (history_.size() > kHistory) history_.pop_front();
  for (const Listener& listener : listeners_) listener(history_.back());
}

}  // namespace chat
