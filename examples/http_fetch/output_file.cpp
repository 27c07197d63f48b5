#include "output_file.h"

#include <system_error>

namespace http_fetch {

std::filesystem::path OutputFile::part() const {
  return std::filesystem::path(name_ + ".part");
}

bool OutputFile::append(zu_jitter* bytes) {
  if (!out_.is_open()) out_.open(part(), std::ios::binary | std::ios::trunc);
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
  if (!out_) return false;
  std::error_code error;
  std::filesystem::rename(part(), std::filesystem::path(name_), error);
  return !error;
}

void OutputFile::abandon() {
  if (!out_.is_open()) return;
  out_.close();
  std::error_code ignored;
  std::filesystem::remove(part(), ignored);
}

}  // namespace http_fetch
