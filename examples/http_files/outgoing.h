// The bytes of one answer on their way out: a text, then a part of a file in pieces.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "folder.h"
#include "kiv_base/event.h"

namespace http_files {

class Outgoing {
 public:
  enum class Result { done, blocked, failed };

  // Begins an answer: the text goes into the result, the file after it.
  std::string& begin();
  void append_file(std::unique_ptr<OpenFile> file, std::uint64_t bytes);

  // Sends until all is out, the socket takes no more, or it has had its share of this turn; the
  // last two are `blocked`. Text and the beginning of the file leave in one send, so that no
  // answer waits for the acknowledgement of its head. `piece` is working memory, the same for all
  // connections: what the socket did not take is kept here.
  Result send(kiv_box* box, std::int32_t socket, std::span<char> piece);

  std::uint64_t bytes_sent() const { return bytes_sent_; }

 private:
  bool next_piece(std::span<char> piece, std::string_view& next);

  std::string text_;
  std::size_t text_at_ = 0;  // how much of it is out
  std::unique_ptr<OpenFile> file_;
  std::uint64_t file_left_ = 0;
  std::uint64_t bytes_sent_ = 0;
};

}  // namespace http_files
