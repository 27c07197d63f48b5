// Paths: in their normal form, and as URIs.
#include <algorithm>
#include <cstring>

#include "base/ascii.h"
#include "http/uri.h"
#include "http/uri_chars.h"

namespace kiv::http {
namespace {

// The segments that stay, each with its slash, are moved up to the front.
class PathFolder {
 public:
  explicit PathFolder(char* path)
      : path_(path), root_(path + std::strspn(path, "/")), end_(root_) {}

  void fold() {
    for (char* at = root_; *at != '\0';) {
      char* const segment = at;
      while (*at != '/' && *at != '\0') ++at;
      const auto length = static_cast<std::size_t>(at - segment);
      if (*at == '/') ++at;
      take_segment(segment, length, at);
    }
    *end_ = '\0';
  }

 private:
  void take_segment(const char* segment, std::size_t length, const char* next) {
    if (length == 0 || (length == 1 && segment[0] == '.')) return;
    if (length == 2 && segment[0] == '.' && segment[1] == '.') {
      if (end_ != root_ && !behind_up()) return drop_last();
      if (end_ == root_ && root_ - path_ == 1) {
        // deliberate: "/.." at the end takes the slash with it, so the path of "http://h/.." is
        // empty; callers send it as an empty request target.
        if (*next == '\0' && next == segment + length) end_ = path_;
        return;
      }
    }
    if (end_ != segment) std::memmove(end_, segment, static_cast<std::size_t>(next - segment));
    end_ += next - segment;
  }

  bool behind_up() const {
    return end_ - root_ >= 3 && std::memcmp(end_ - 3, "../", 3) == 0 &&
           (end_ - root_ == 3 || end_[-4] == '/');
  }

  void drop_last() {
    --end_;
    while (end_ != root_ && end_[-1] != '/') --end_;
  }

  char* path_;
  char* root_;  // behind the leading slashes
  char* end_;
};

bool is_drive_path(const char* text) noexcept {
  return base::is_alpha(text[0]) && text[1] == ':' && (text[2] == '/' || text[2] == '\\');
}

bool begins_with_scheme(const char* text) noexcept {
  std::size_t letters = 0;
  while (base::is_alpha(text[letters])) ++letters;
  return letters >= 1 && letters <= 20 && std::strncmp(text + letters, "://", 3) == 0;
}

OwnedText with_slashes(std::string_view prefix, std::string_view text) noexcept {
  auto out = OwnedText::allocate(prefix.size() + text.size() + 1);
  if (!out) return out;
  std::memcpy(out.get(), prefix.data(), prefix.size());
  char* const end =
      std::replace_copy(text.begin(), text.end(), out.get() + prefix.size(), '\\', '/');
  *end = '\0';
  return out;
}

}  // namespace
}  // namespace kiv::http

using namespace kiv::http;

int KIV_CALL kiv_uri_NormalizeURIPath(char* path) KIV_NOEXCEPT {
  if (path == nullptr) return -1;
  PathFolder(path).fold();
  return 0;
}

char* KIV_CALL kiv_uri_CanonicPath(const char* path) KIV_NOEXCEPT {
  if (path == nullptr) return nullptr;
  if (is_uri(path)) return copy_text(path, std::strlen(path)).release();
  if (begins_with_scheme(path)) {
    OwnedText url = escaped(path, kPlainInUrl);
    if (!url || is_uri(url.get())) return url.release();
  }
  if (!is_drive_path(path)) return with_slashes("", path).release();
  const OwnedText file = with_slashes("/", path);
  if (!file) return nullptr;
  char scheme[] = "file";
  kiv_uri uri{};
  uri.scheme = scheme;
  uri.path = file.get();
  return kiv_uri_GetURIString(&uri);
}

char* KIV_CALL kiv_uri_PathToURI(const char* path) KIV_NOEXCEPT {
  if (path == nullptr) return nullptr;
  OwnedText canonic(kiv_uri_CanonicPath(path));
  if (!canonic || is_uri(path)) return canonic.release();
  // deliberate: a drive path is a printed URI by now and is escaped a second time; kept for those
  // who stored such references.
  kiv_uri uri{};
  uri.path = canonic.get();
  return kiv_uri_GetURIString(&uri);
}
