#include "event/send_queue.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/owned.h"
#include "kiv_base/streams.h"
#include "platform/fs.h"
#include "platform/socket.h"
#include "platform/socket_stream.h"

namespace kiv::event {
namespace {

constexpr std::int64_t kLeastRoom = 512;
constexpr std::int64_t kMostRoom = 16384;  // beyond what is asked for
constexpr std::int64_t kMostAtOnce = 1 << 20;

}  // namespace

// Bytes lie behind the record.
struct SendQueue::Piece {
  platform::File file = platform::kNoFile;
  std::int64_t begin = 0;  // what is left: in the bytes, or in the file
  std::int64_t end = 0;
  std::int32_t room = 0;
  Piece* next = nullptr;

  bool is_file() const { return file != platform::kNoFile; }
  char* bytes() { return reinterpret_cast<char*>(this + 1); }
};

SendQueue::Piece* SendQueue::make(std::int32_t room) noexcept {
  constexpr auto kMost = INT32_MAX - static_cast<std::int32_t>(sizeof(Piece));
  if (room > kMost) return nullptr;
  auto memory = base::RawStorage<char>::allocate(sizeof(Piece) + static_cast<std::size_t>(room));
  if (!memory) return nullptr;
  auto* const made = new (memory.release()) Piece;
  made->room = room;
  return made;
}

void SendQueue::append(Piece* piece) noexcept {
  if (empty()) {
    first_ = piece;
  } else {
    last_->next = piece;
  }
  last_ = piece;
}

std::int32_t SendQueue::room_at_end() const noexcept {
  return empty() || last_->is_file() ? 0 : last_->room - static_cast<std::int32_t>(last_->end);
}

// The more waits already, the more small pieces are likely to follow.
bool SendQueue::reserve(std::int32_t length) noexcept {
  if (room_at_end() >= length) return true;
  const auto ahead = static_cast<std::int32_t>(std::clamp(held_, kLeastRoom, kMostRoom));
  const std::int32_t room = empty() ? length : std::max(length, ahead);
  spare_ = make(room);
  return spare_ != nullptr;
}

void SendQueue::add(const void* data, std::int32_t length) noexcept {
  if (room_at_end() < length) {
    append(spare_);
    spare_ = nullptr;
  }
  std::memcpy(last_->bytes() + last_->end, data, static_cast<std::size_t>(length));
  last_->end += length;
  bytes_ += length;
  held_ += length;
}

void SendQueue::trim() noexcept {
  base::deallocate(spare_);
  spare_ = nullptr;
}

bool SendQueue::add_file(const char* path, std::int64_t offset, std::int64_t length) noexcept {
  platform::OpenMode mode;
  mode.read = mode.regular = true;
  const platform::File file = platform::open_file(path, mode);
  if (file == platform::kNoFile) return false;
  const std::int64_t size = platform::file_size(file);
  const bool fits = size >= 0 && offset >= 0 && offset <= size && length <= size - offset;
  Piece* const piece = fits ? make(0) : nullptr;
  const std::int64_t left = length < 0 ? size - offset : length;
  if (piece == nullptr || left == 0) {
    base::deallocate(piece);
    platform::close_file(file);
    return fits && left == 0;
  }
  piece->file = file;
  piece->begin = offset;
  piece->end = offset + left;
  append(piece);
  bytes_ += left;
  return true;
}

SendQueue::Flushed SendQueue::flush(std::int32_t socket) noexcept {
  if (empty()) return Flushed::all;
  const std::int64_t sent = first_->is_file() ? flush_file(socket) : flush_bytes(socket);
  if (sent < 0) return error_ == platform::kWouldBlock ? Flushed::blocked : Flushed::failed;
  drop(sent);
  return empty() ? Flushed::all : Flushed::some;
}

std::int64_t SendQueue::flush_bytes(std::int32_t socket) noexcept {
  platform::Bytes parts[platform::kMostParts];
  std::int32_t count = 0;
  std::int64_t total = 0;
  for (Piece* piece = first_; piece != nullptr && !piece->is_file(); piece = piece->next) {
    if (count == platform::kMostParts || total == kMostAtOnce) break;
    const std::int64_t length = std::min(piece->end - piece->begin, kMostAtOnce - total);
    parts[count++] = {piece->bytes() + piece->begin, static_cast<std::int32_t>(length)};
    total += length;
  }
  const std::int32_t sent = platform::socket_send_parts(socket, parts, count);
  if (sent < 0) error_ = platform::last_error();
  return sent;
}

std::int64_t SendQueue::flush_file(std::int32_t socket) noexcept {
  const std::int64_t length = std::min(first_->end - first_->begin, kMostAtOnce);
  const std::int64_t sent = platform::socket_send_file(socket, first_->file, first_->begin, length);
  if (sent > 0) return sent;
  error_ = sent == 0 ? std::int32_t{KIV_REASON_FILE} : platform::last_error();
  return -1;
}

void SendQueue::drop(std::int64_t count) noexcept {
  while (count > 0) {
    const std::int64_t taken = std::min(count, first_->end - first_->begin);
    first_->begin += taken;
    bytes_ -= taken;
    if (!first_->is_file()) held_ -= taken;
    count -= taken;
    if (first_->begin == first_->end) drop_first();
  }
}

void SendQueue::drop_first() noexcept {
  Piece* const piece = first_;
  first_ = piece->next;
  if (piece->is_file()) platform::close_file(piece->file);
  base::deallocate(piece);
}

void SendQueue::clear() noexcept {
  while (!empty()) drop_first();
  trim();
  bytes_ = held_ = 0;
}

}  // namespace kiv::event
