// The folder that is served: finds what a path names in it and opens its files.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "url_path.h"

namespace http_files {

// What a path names.
struct Resource {
  int status = 404;  // 200, or why there is nothing to serve: 403, 404
  bool is_directory = false;
  std::filesystem::path path;
};

// A regular file open for reading. Offsets are 64 bits wide on every system.
class OpenFile {
 public:
  std::uint64_t size() const { return size_; }
  // Bytes read, fewer than asked only at the file's end or on an error.
  std::size_t read(char* to, std::size_t count);
  bool seek(std::uint64_t offset);

 private:
  friend class Folder;
  std::filebuf file_;
  std::uint64_t size_ = 0;
};

class Folder {
 public:
  // Nothing when there is no such folder.
  static std::optional<Folder> open(const std::filesystem::path& path);

  const std::filesystem::path& path() const { return root_; }

  // Links are followed as long as they stay inside the folder; one that leads out gives 403. The
  // standard library that MinGW comes with sees no links: there, they lead where they lead.
  Resource find(const UrlPath& url) const;

  // The file and 200, or nothing and 403, 404 or 500.
  static std::unique_ptr<OpenFile> open_file(const std::filesystem::path& path, int& status);

 private:
  explicit Folder(std::filesystem::path root);

  bool contains(const std::filesystem::path& canonical) const;
  std::filesystem::file_status status_up_to_link(const std::string& name,
                                                 std::error_code& error) const;

  std::filesystem::path root_;  // canonical
};

// Text in UTF-8, as URLs and pages carry it, to and from a file name. Where file names are not
// bytes, to_path throws for text that is no UTF-8.
std::filesystem::path to_path(const std::string& utf8);
std::string to_utf8(const std::filesystem::path& path);

// When a file was last changed, in whole seconds.
std::optional<std::chrono::sys_seconds> last_change(const std::filesystem::path& path);

}  // namespace http_files
