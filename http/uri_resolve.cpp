// References: resolved against a base, and made relative to one.
#include <algorithm>
#include <cstring>

#include "http/uri.h"
#include "http/uri_chars.h"

namespace kiv::http {
namespace {

char* copy_of(const char* text) noexcept {
  return copy_text(text, std::strlen(text)).release();
}

bool has_server(const kiv_uri& uri) noexcept {
  return uri.host != nullptr || uri.authority != nullptr;
}

// Null when the text is no URI; false only when memory runs out.
bool read(const char* text, OwnedUri& uri) noexcept {
  UriParts parts;
  if (text == nullptr || !parse_uri(text, 0, parts)) return true;
  uri = make_uri(parts, 0);
  return uri != nullptr;
}

// Base path up to its last slash, then the reference's path. Behind a scheme or a server it always
// begins with a slash: the path would else be read as part of the server.
OwnedText joined_path(const kiv_uri& reference, const kiv_uri& base) noexcept {
  const std::string_view from = base.path == nullptr ? "" : base.path;
  const std::string_view folder = from.substr(0, from.rfind('/') + 1);
  const bool slash = folder.empty() && (base.scheme != nullptr || has_server(base));
  TextBuffer path;
  if (slash) path.put("/");
  path.put(folder);
  path.put(reference.path);
  OwnedText text(path.release());
  kiv_uri_NormalizeURIPath(text.get());
  return text;
}

void borrow_server(kiv_uri& uri, const kiv_uri& from) noexcept {
  uri.authority = from.authority;
  uri.host = from.host;
  uri.user = from.user;
  uri.port = from.port;
}

// The resolved record borrows its texts from both.
char* print_resolved(const kiv_uri& reference, const kiv_uri& base) noexcept {
  kiv_uri uri{};
  uri.scheme = base.scheme;
  borrow_server(uri, has_server(reference) ? reference : base);
  uri.path = reference.path;
  uri.query_raw = reference.query_raw;
  uri.fragment = reference.fragment;
  OwnedText path;
  if (!has_server(reference) && reference.path == nullptr) {
    uri.path = base.path;
    if (uri.query_raw == nullptr) uri.query_raw = base.query_raw;
  } else if (!has_server(reference) && *reference.path != '/') {
    path = joined_path(reference, base);
    if (!path) return nullptr;
    uri.path = path.get();
  }
  return kiv_uri_GetURIString(&uri);
}

bool same(const char* a, const char* b) noexcept {
  return a == nullptr || b == nullptr ? a == b : std::strcmp(a, b) == 0;
}

// Can a path alone lead from one to the other?
bool same_place(const kiv_uri& a, const kiv_uri& b) noexcept {
  return a.opaque == nullptr && b.opaque == nullptr && same(a.scheme, b.scheme) &&
         same(a.host, b.host) && same(a.authority, b.authority) && a.port == b.port;
}

std::string_view path_of(const kiv_uri& uri) noexcept {
  return uri.path == nullptr || *uri.path == '\0' ? "/" : uri.path;
}

std::size_t leading_slashes(std::string_view path) noexcept {
  return std::min(path.find_first_not_of('/'), path.size());
}

char* relative_path(std::string_view to, std::string_view from) noexcept {
  const auto ends = std::mismatch(to.begin(), to.end(), from.begin(), from.end());
  const auto alike = static_cast<std::size_t>(ends.first - to.begin());
  const std::size_t shared = to.substr(0, alike).rfind('/') + 1;
  TextBuffer out;
  const auto ups = std::count(from.begin() + static_cast<std::ptrdiff_t>(shared), from.end(), '/');
  for (auto i = ups; i > 0; --i) out.put("../");
  to.remove_prefix(shared);
  put_escaped(out, to, kPlainInRelative);
  return out.release();
}

}  // namespace
}  // namespace kiv::http

using namespace kiv::http;

char* KIV_CALL kiv_uri_BuildURI(const char* reference, const char* base) KIV_NOEXCEPT {
  OwnedUri uri, from;
  if (!read(reference, uri) || !uri) return nullptr;
  if (uri->scheme != nullptr) return copy_of(reference);
  if (!read(base, from)) return nullptr;
  if (!from) return kiv_uri_GetURIString(uri.get());
  if (*reference == '\0') return kiv_uri_GetURIString(from.get());
  return print_resolved(*uri, *from);
}

char* KIV_CALL kiv_uri_BuildRelativeURI(const char* text, const char* base) KIV_NOEXCEPT {
  const OwnedUri uri(kiv_uri_malloc(text));
  const OwnedUri from(kiv_uri_malloc(base));
  if (!uri || !from) return nullptr;
  const std::string_view to_path = path_of(*uri), from_path = path_of(*from);
  if (!same_place(*uri, *from) || leading_slashes(to_path) != leading_slashes(from_path)) {
    return copy_of(text);
  }
  return to_path == from_path ? copy_of("") : relative_path(to_path, from_path);
}
