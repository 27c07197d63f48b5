#include "word_list.h"

#include <fstream>

#include "../http_files/text.h"

namespace chat {
namespace {

// The filter tells cases apart; people do not.
std::string lower(std::string text) {
  for (char& c : text) c = http_files::lower(c);
  return text;
}

}  // namespace

bool WordList::load(const std::string& path) {
  std::ifstream file(path);
  if (!file) return false;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line[0] != '#' && !add(line)) return false;
  }
  return true;
}

bool WordList::marks(const std::string& text) {
  return filter_.hits(lower(text));
}

bool WordList::add(const std::string& word) {
  return filter_.insert(lower(word));
}

}  // namespace chat
