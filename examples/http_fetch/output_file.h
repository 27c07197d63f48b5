// A file that is there only when all of it is. A device or a pipe of that name is written into.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "kiv_base/containers.h"

namespace http_fetch {

class OutputFile {
 public:
  explicit OutputFile(std::string name) : name_(std::move(name)) {}
  ~OutputFile() { abandon(); }
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  const std::string& name() const { return name_; }

  // Takes all bytes out of the buffer, to the disk; makes NAME.part at its first call. False when
  // the disk takes no more.
  bool append(zu_jitter* bytes);

  // Gives the file its name. False when that or the last write failed.
  bool finish();
  void abandon();

 private:
  void open();
  void remove();

  std::string name_;
  std::filesystem::path written_;
  bool is_device_ = false;
  std::ofstream out_;
};

}  // namespace http_fetch
