// URIs as in RFC 2396 (kiv_base/http.h). A record belongs to one thread at a time.
#ifndef KIV_BASE_CPP_URI_HPP
#define KIV_BASE_CPP_URI_HPP

#include <cstdint>

#include "kiv_base/cpp/text.hpp"
#include "kiv_base/http.h"

namespace kiv {

class UriRef;
inline void free_uri(const kiv_uri* uri) noexcept {
  kiv_uri_free(const_cast<kiv_uri*>(uri));
}
using Uri = Owner<UriRef, free_uri>;

// Parts are owned by the record, and null if it does not have them. Newly allocated strings are
// null on failure.
class UriRef : public Ref<const kiv_uri> {
 public:
  using Ref::Ref;
  // Returns null for a string that is not a URI reference, or if out of memory. `raw` leaves
  // escapes as they are.
  static Uri parse(TextRef text, bool raw = false) noexcept {
    return Uri(kiv_uri_mallocx(text.c_str(), raw));
  }
  Uri clone() const noexcept { return Uri(kiv_uri_clone(object_)); }

  TextRef scheme() const noexcept { return kiv_uri_GetScheme(object_); }
  TextRef host() const noexcept { return kiv_uri_GetHost(object_); }
  TextRef user() const noexcept { return kiv_uri_GetUser(object_); }
  TextRef path() const noexcept { return kiv_uri_GetPath(object_); }
  TextRef path_raw() const noexcept { return kiv_uri_GetPathRaw(object_); }
  TextRef query() const noexcept { return kiv_uri_GetQuery(object_); }
  TextRef query_raw() const noexcept { return kiv_uri_GetQueryRaw(object_); }
  TextRef fragment() const noexcept { return kiv_uri_GetFragment(object_); }
  // Truncated to 16 bits; get()->port is the number as written.
  std::uint16_t port() const noexcept { return kiv_uri_GetPort(object_); }
  TextRef port_text() const noexcept { return kiv_uri_GetPortString(object_); }

  Text text() const noexcept { return Text(kiv_uri_GetURIString(object_)); }
  Text request_target() const noexcept { return Text(kiv_uri_GetURIRequest(object_)); }

  static Text resolve(TextRef reference, TextRef base) noexcept {
    return Text(kiv_uri_BuildURI(reference.c_str(), base.c_str()));
  }
  static Text relative(TextRef text, TextRef base) noexcept {
    return Text(kiv_uri_BuildRelativeURI(text.c_str(), base.c_str()));
  }
  static Text canonic_path(TextRef path) noexcept {
    return Text(kiv_uri_CanonicPath(path.c_str()));
  }
  static Text from_path(TextRef path) noexcept { return Text(kiv_uri_PathToURI(path.c_str())); }
  // Works in place. Returns false for NULL.
  static bool normalize_path(char* path) noexcept { return kiv_uri_NormalizeURIPath(path) == 0; }
};

// ---- String encodings ------------------------------------------------------------------------

// Return newly allocated strings; null for a length out of range, or if out of memory. The C
// functions would read a length of 0 as up to the terminator.
inline Text url_escape(Data text) noexcept {
  return Text(zu_url_escape_malloc(text.empty() ? "" : text.data(), text.size()));
}
inline Text url_unescape(Data text) noexcept {
  return Text(zu_url_unescape_malloc(text.empty() ? "" : text.data(), text.size()));
}
// Returns the number of characters before the zero; -1 on failure, also if the buffer is too small.
inline std::int32_t base64_encode(Buffer to, Data bytes) noexcept {
  const std::int64_t needed = (std::int64_t{bytes.size()} + 2) / 3 * 4 + 1;
  return to.size() < needed ? -1 : zu_base64_encode(to.data(), bytes.data(), bytes.size());
}
// Returns the number of bytes; bytes that do not fit are dropped. -1 on failure.
inline std::int32_t base64_decode(Buffer to, TextRef text) noexcept {
  return zu_base64_decode(to.data(), text.c_str(), to.size());
}
inline bool md5(char (&to)[33], TextRef text) noexcept {
  return zu_md5_encode(to, text.c_str()) == 1;
}

// ---- Forms --------------------------------------------------------------------------------------

class FormRef;
inline void free_form(const zu_cgi* form) noexcept {
  zu_cgi_free(const_cast<zu_cgi*>(form));
}
using Form = Owner<FormRef, free_form>;

class FormRef : public Ref<const zu_cgi> {
 public:
  using Ref::Ref;
  // Returns null for null or if out of memory.
  static Form parse(Data text) noexcept { return Form(zu_cgi_malloc(text.data(), text.size())); }

  bool has(TextRef name) const noexcept {
    return zu_cgi_FormString(object_, name.c_str(), nullptr, 0) == 1;
  }
  // Truncates to the buffer, with a zero. Returns false if there is no such field.
  bool copy(TextRef name, Buffer to) const noexcept {
    return zu_cgi_FormString(object_, name.c_str(), to.data(), to.size()) == 1;
  }
  std::int32_t number(TextRef name, std::int32_t otherwise) const noexcept {
    std::int32_t value = otherwise;
    zu_cgi_FormInteger(object_, name.c_str(), &value, otherwise);
    return value;
  }
};

}  // namespace kiv

#endif
