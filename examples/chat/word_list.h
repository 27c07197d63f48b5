// Words that mark a message.
#pragma once

#include <memory>
#include <string>

#include "kiv_base/protocol.h"

namespace chat {

class WordList {
 public:
  WordList() : filter_(kiv_filter_malloc()) {}

  // Takes the words of a file, one a line; lines that begin with "#" are skipped. False when it
  // cannot be read.
  bool load(const std::string& path);
  bool add(const std::string& word);

  // Does the text contain one, however it is spaced, punctuated and cased?
  bool marks(const std::string& text);

 private:
  struct Free {
    void operator()(kiv_filter* filter) const { kiv_filter_free(filter); }
  };
  std::unique_ptr<kiv_filter, Free> filter_;
};

}  // namespace chat
