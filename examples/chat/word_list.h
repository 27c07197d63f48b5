// Words that mark a message.
#pragma once

#include <string>

#include "kiv_base/cpp/packet.hpp"

namespace chat {

class WordList {
 public:
  // Takes the words of a file, one a line; lines that begin with "#" are skipped. False when it
  // cannot be read.
  bool load(const std::string& path);
  bool add(const std::string& word);

  // Does the text contain one, however it is spaced, punctuated and cased?
  bool marks(const std::string& text);

 private:
  kiv::KeywordFilter filter_ = kiv::KeywordFilter::make();
};

}  // namespace chat
