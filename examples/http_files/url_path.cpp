#include "url_path.h"

#include <algorithm>
#include <filesystem>

#include "text.h"

namespace http_files {
namespace {

constexpr bool kHasDrives = std::filesystem::path::preferred_separator == '\\';

bool is_device_name(std::string_view segment) {
  const std::string_view stem = segment.substr(0, segment.find('.'));
  for (const std::string_view name : {"con", "prn", "aux", "nul", "conin$", "conout$"}) {
    if (equal_ignoring_case(stem, name)) return true;
  }
  const std::string_view port = stem.substr(0, 3);
  return stem.size() == 4 && (equal_ignoring_case(port, "com") || equal_ignoring_case(port, "lpt"));
}

// On a system with drives "a:b" names a stream or a drive, "con" a device, and blanks and dots at
// the end of a name, as well as wildcards, do not count or do more than they say.
bool is_ambiguous(std::string_view segment) {
  if constexpr (!kHasDrives) return false;
  const char last = segment.back();
  return last == '.' || last == ' ' || is_device_name(segment) ||
         segment.find_first_of("<>:\"|?*") != std::string_view::npos;
}

int status_of(std::string_view segment) {
  const auto is_control = [](char c) { return (c >= 0 && c < ' ') || c == 0x7F; };
  if (std::any_of(segment.begin(), segment.end(), is_control)) return 400;
  const bool leads_out = segment == ".." || segment.find_first_of("/\\") != segment.npos;
  return leads_out || is_ambiguous(segment) ? 403 : 200;
}

UrlPath refused(int status) {
  UrlPath path;
  path.status = status;
  return path;
}

// Cuts "http://host" off the absolute form.
std::string_view without_host(std::string_view target) {
  constexpr std::string_view kScheme = "http://";
  if (!equal_ignoring_case(target.substr(0, kScheme.size()), kScheme)) return target;
  target.remove_prefix(kScheme.size());
  const auto slash = target.find_first_of("/?#");
  return slash == std::string_view::npos || target[slash] != '/' ? "/" : target.substr(slash);
}

}  // namespace

std::string UrlPath::url() const {
  std::string out = mount + "/";
  std::string_view rest = name;
  while (!rest.empty()) {
    const auto slash = rest.find('/');
    append_percent_encoded(out, rest.substr(0, slash));
    if (slash == std::string_view::npos) break;
    out += '/';
    rest.remove_prefix(slash + 1);
  }
  if (ends_in_slash && out.back() != '/') out += '/';
  return out;
}

UrlPath parse_target(std::string_view target, std::string_view mount) {
  std::string_view rest = without_host(target);
  rest = rest.substr(0, rest.find_first_of("?#"));
  if (rest.empty() || rest[0] != '/') return refused(400);
  if (!rest.starts_with(mount)) return refused(404);
  rest.remove_prefix(mount.size());
  if (!rest.empty() && rest[0] != '/') return refused(404);

  UrlPath path;
  path.mount = mount;
  while (!rest.empty()) {
    rest.remove_prefix(1);
    const std::string_view escaped = rest.substr(0, rest.find('/'));
    rest.remove_prefix(escaped.size());
    path.ends_in_slash = escaped.empty() || escaped == ".";
    if (path.ends_in_slash) continue;

    const auto segment = percent_decode(escaped);
    if (!segment) return refused(400);
    if (*segment == ".") {
      path.ends_in_slash = true;
      continue;
    }
    if (const int status = status_of(*segment); status != 200) return refused(status);
    if (!path.name.empty()) path.name += '/';
    path.name += *segment;
  }
  return path;
}

}  // namespace http_files
