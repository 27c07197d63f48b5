#include "output_file.h"

#include <system_error>

namespace http_fetch {

void OutputFile::open() {
  std::error_code ignored;
  is_device_ = std::filesystem::is_other(std::filesystem::status(name_, ignored));
  written_ = is_device_ ? name_ : name_ + ".part";
  out_.open(written_, std::ios::binary | std::ios::trunc);
}

bool OutputFile::append(zu_jitter* bytes) {
  if (!out_.is_open()) open();
  char piece[16384];
  while (out_.good()) {
    const std::int32_t length = zu_jitter_GetData(bytes, piece, sizeof piece);
    if (length <= 0) return true;
    out_.write(piece, length);
  }
  return false;
}

bool OutputFile::finish() {
  out_.close();
  if (is_device_) return out_.good();
  std::error_code error;
  if (out_) std::filesystem::rename(written_, name_, error);
  if (out_ && !error) return true;
  remove();
  return false;
}

void OutputFile::abandon() {
  if (!out_.is_open()) return;
  out_.close();
  remove();
}

void OutputFile::remove() {
  std::error_code ignored;
  if (!is_device_) std::filesystem::remove(written_, ignored);
}

}  // namespace http_fetch
