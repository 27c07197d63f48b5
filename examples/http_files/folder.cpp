#include "folder.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace http_files {

namespace fs = std::filesystem;

fs::path to_path(const std::string& utf8) {
  return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string to_utf8(const fs::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

std::optional<std::chrono::sys_seconds> last_change(const fs::path& path) {
  std::error_code error;
  const fs::file_time_type time = fs::last_write_time(path, error);
  if (error) return std::nullopt;
  return std::chrono::floor<std::chrono::seconds>(std::chrono::file_clock::to_sys(time));
}

std::size_t OpenFile::read(char* to, std::size_t count) {
  return static_cast<std::size_t>(file_.sgetn(to, static_cast<std::streamsize>(count)));
}

bool OpenFile::seek(std::uint64_t offset) {
  const auto position = static_cast<std::streamoff>(offset);
  return std::streamoff(file_.pubseekpos(position, std::ios::in)) == position;
}

Folder::Folder(fs::path root) : root_(std::move(root)) {}

std::optional<Folder> Folder::open(const fs::path& path) {
  std::error_code error;
  fs::path root = fs::canonical(path, error);
  if (error || !fs::is_directory(root, error)) return std::nullopt;
  return Folder(std::move(root));
}

bool Folder::contains(const fs::path& canonical) const {
  const auto [end, ignored] =
      std::mismatch(root_.begin(), root_.end(), canonical.begin(), canonical.end());
  // The root directory ends in an empty component on some systems; it contains everything below.
  return end == root_.end() || (end->empty() && std::next(end) == root_.end());
}

// The status of the last name in the folder; that of a link as soon as one is met. Looking at one
// name after the other is cheaper than asking for the canonical path of each file that is fetched.
// Someone who can change the folder during the look can mislead it.
fs::file_status Folder::status_up_to_link(const std::string& name, std::error_code& error) const {
  for (auto slash = name.find('/');; slash = name.find('/', slash + 1)) {
    const fs::path part = name.empty() ? root_ : root_ / to_path(name.substr(0, slash));
    const fs::file_status status = fs::symlink_status(part, error);
    if (slash == std::string::npos || fs::is_symlink(status) || error) return status;
    if (!fs::is_directory(status)) return fs::file_status(fs::file_type::not_found);
  }
}

Resource Folder::find(const UrlPath& url) const try {
  std::error_code error;
  fs::file_status status = status_up_to_link(url.name, error);
  fs::path path = url.name.empty() ? root_ : root_ / to_path(url.name);
  if (fs::is_symlink(status)) {
    path = fs::canonical(path, error);
    if (error) return {404, false, {}};
    if (!contains(path)) return {403, false, {}};
    status = fs::status(path, error);
  }
  switch (status.type()) {
    case fs::file_type::directory:
      return {200, true, std::move(path)};
    case fs::file_type::regular:
      if (url.ends_in_slash) return {404, false, {}};
      return {200, false, std::move(path)};
    case fs::file_type::not_found:
      return {404, false, {}};
    case fs::file_type::none:
      return {error == std::errc::permission_denied ? 403 : 404, false, {}};
    default:
      return {403, false, {}};  // devices and pipes
  }
} catch (const std::system_error&) {
  return {404, false, {}};  // a name that this system cannot have
}

std::unique_ptr<OpenFile> Folder::open_file(const fs::path& path, int& status) {
  auto file = std::make_unique<OpenFile>();
  file->file_.pubsetbuf(nullptr, 0);  // pieces are read straight into place
  errno = 0;
  if (!file->file_.open(path, std::ios::in | std::ios::binary)) {
    const std::errc reason{errno};
    status = reason == std::errc::permission_denied           ? 403
             : reason == std::errc::no_such_file_or_directory ? 404
                                                              : 500;
    return nullptr;
  }
  const std::streamoff size = file->file_.pubseekoff(0, std::ios::end, std::ios::in);
  if (size < 0 || !file->seek(0)) {
    status = 500;
    return nullptr;
  }
  file->size_ = static_cast<std::uint64_t>(size);
  status = 200;
  return file;
}

}  // namespace http_files
