#include "outgoing.h"

#include <algorithm>
#include <cstring>

namespace http_files {
namespace {

constexpr std::size_t kShareOfTurn = 512 * 1024;  // then it is the other sockets' turn
constexpr std::size_t kTextWorthKeeping = 4096;

}  // namespace

std::string& Outgoing::begin() {
  text_.clear();
  text_at_ = 0;
  bytes_sent_ = 0;
  return text_;
}

void Outgoing::append_file(std::unique_ptr<OpenFile> file, std::uint64_t bytes) {
  file_ = std::move(file);
  file_left_ = bytes;
}

// The text, or where there is room, the text with the file's next bytes after it. False when the
// file no longer holds what was announced.
bool Outgoing::next_piece(std::span<char> piece, std::string_view& next) {
  next = std::string_view(text_).substr(text_at_);
  if (file_left_ == 0 || next.size() > piece.size() / 2) return true;
  std::memcpy(piece.data(), next.data(), next.size());
  const std::size_t room = piece.size() - next.size();
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(room, file_left_));
  if (file_->read(piece.data() + next.size(), wanted) != wanted) return false;
  file_left_ -= wanted;
  next = std::string_view(piece.data(), next.size() + wanted);
  return true;
}

Outgoing::Result Outgoing::send(kiv_box* box, std::int32_t socket, std::span<char> piece) {
  for (std::size_t share = 0; share < kShareOfTurn;) {
    std::string_view next;
    if (!next_piece(piece, next)) return Result::failed;
    if (next.empty()) {
      file_.reset();
      // A waiting connection costs little, however long its last answer was.
      if (text_.capacity() > kTextWorthKeeping) text_ = std::string();
      return Result::done;
    }
    const std::int32_t result =
        kivx_box_TcpWrite(box, socket, next.data(), static_cast<std::int32_t>(next.size()));
    const auto sent = static_cast<std::size_t>(std::max(result, 0));
    bytes_sent_ += sent;
    share += sent;
    if (next.data() == piece.data()) {
      text_.assign(next.substr(sent));
      text_at_ = 0;
    } else {
      text_at_ += sent;
    }
    if (sent < next.size()) return Result::blocked;
  }
  return Result::blocked;
}

}  // namespace http_files
