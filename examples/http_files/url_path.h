// The path that a request target names, with everything refused that could lead out of a folder.
#pragma once

#include <string>
#include <string_view>

namespace http_files {

struct UrlPath {
  int status = 200;            // 400, 403 or 404 when refused; the rest is then empty
  std::string name;            // decoded, "a/b.txt"; empty for the folder itself
  bool ends_in_slash = false;  // the target names a directory: "/", "/a/", "/a/."
  std::string mount;           // where the folder is found: "" or "/files"

  // The path as a URL, "/files/a/b.txt", escaped. It never begins with two slashes, which a browser
  // would take for another host.
  std::string url() const;
};

// Takes "/a/b?query" and the absolute form "http://host/a/b". Empty segments and "." are dropped.
// 400: a target of another shape, a broken escape, a control character.
// 403: "..", a slash or backslash that arrives escaped or is none of a URL's, and, where the
// system gives names a second meaning, those names (devices, drives, streams).
// 404: a path that is not under `mount`, which is "" for all.
UrlPath parse_target(std::string_view target, std::string_view mount = {});

}  // namespace http_files
