// The URI grammar. Nothing is copied or allocated here.
#include <algorithm>
#include <cstring>

#include "base/ascii.h"
#include "http/uri.h"
#include "http/uri_chars.h"

namespace kiv::http {
namespace {

bool is_escape(const char* at) noexcept {
  return at[0] == '%' && base::is_hex_digit(at[1]) && base::is_hex_digit(at[2]);
}

// One to four runs of digits, or labels of which the last begins with a letter and may have a dot
// after it; `host` has letters, digits, "-" and "." only.
bool is_host(std::string_view host) noexcept {
  bool digits = !host.ends_with('.');
  if (!digits) host.remove_suffix(1);
  for (int labels = 1;; ++labels) {
    const std::string_view label = host.substr(0, host.find('.'));
    if (label.empty() || label.front() == '-' || label.back() == '-') return false;
    digits = digits && std::all_of(label.begin(), label.end(), base::is_digit);
    if (label.size() == host.size()) return base::is_alpha(label[0]) || (digits && labels <= 4);
    host.remove_prefix(label.size() + 1);
  }
}

// Each step reads on from where the last one stopped; false is an error, the parts are then
// worthless.
class UriReader {
 public:
  UriReader(const char* text, std::int32_t flags, UriParts& parts)
      : at_(text),
        query_set_((flags & KIV_URI_UNWISE) != 0 ? kUriQuery | kUriUnwise : unsigned{kUriQuery}),
        parts_(parts) {
    parts_.plain = std::strchr(text, '\\') == nullptr;
  }

  bool read() {
    skip_blanks();
    if (!(scheme() ? absolute() : relative())) return false;
    if (*at_ == '#') parts_.fragment = take_after_mark();
    skip_blanks();
    return *at_ == '\0';
  }

 private:
  void skip_blanks() {
    while (*at_ == ' ') ++at_;
  }

  std::string_view take_part(unsigned set) {
    const char* const start = at_;
    for (;;) {
      if (is_in(*at_, set)) {
        ++at_;
      } else if (is_escape(at_)) {
        parts_.plain = false;
        at_ += 3;
      } else {
        return since(start);
      }
    }
  }

  // What follows the "?" or "#".
  std::string_view take_after_mark() {
    ++at_;
    return take_part(query_set_);
  }

  std::string_view since(const char* start) const {
    return {start, static_cast<std::size_t>(at_ - start)};
  }

  // Without a scheme and its colon nothing is read.
  bool scheme() {
    const char* end = at_;
    if (!base::is_alpha(*end)) return false;
    while (is_in(*end, kUriScheme)) ++end;
    if (*end != ':') return false;
    parts_.scheme = {at_, static_cast<std::size_t>(end - at_)};
    at_ = end + 1;
    return true;
  }

  bool absolute() { return base::is_slash(*at_) ? hierarchy() : opaque(); }

  bool opaque() {
    const unsigned start = kUriOpaqueStart | (query_set_ & kUriUnwise);
    if (!is_in(*at_, start) && !is_escape(at_)) return false;
    parts_.opaque = take_part(query_set_);
    return true;
  }

  bool relative() {
    if (base::is_slash(*at_)) return hierarchy();
    const char* const start = at_;
    if (!take_part(kUriFirstSegment).empty()) {
      if (base::is_slash(*at_)) take_part(kUriPath);
      parts_.path = since(start);
    }
    return query();
  }

  bool hierarchy() {
    if (base::is_slash(at_[1])) {
      // deliberate: further slashes go too, so the host of "file:///etc/x" is "etc"; hand-written
      // addresses have them.
      while (base::is_slash(*at_)) ++at_;
      if (*at_ != '\0' && !authority()) return false;
    }
    if (base::is_slash(*at_)) parts_.path = take_part(kUriPath);
    return query();
  }

  bool query() {
    if (*at_ == '?') parts_.query = take_after_mark();
    return true;
  }

  bool authority() {
    const char* const start = at_;
    // deliberate: "#" ends no server, so "http://h#f" has an authority and no host; requests to
    // such addresses have always been refused.
    if (server() && (*at_ == '\0' || *at_ == '?' || *at_ == ' ' || base::is_slash(*at_)))
      return true;
    at_ = start;
    parts_.user = parts_.host = {};  // a port that was read stays
    parts_.authority = take_part(kUriRegistry);
    return !parts_.authority.empty();
  }

  bool server() {
    const char* const start = at_;
    const std::string_view user = take_part(kUriUser);
    if (*at_ == '@') {
      ++at_;
      parts_.user = user;
    } else {
      at_ = start;
    }
    if (!(*at_ == '[' ? ip6_literal() : host())) return false;
    if (*at_ == ':') port();
    return true;
  }

  bool host() {
    const char* const start = at_;
    while (is_in(*at_, kUriHost)) ++at_;
    parts_.host = since(start);
    return !parts_.host.empty() && is_host(parts_.host);
  }

  // Up to eight groups of one to four digits, one "::" among them.
  // deliberate: it is no host; connections are made over IPv4, and such a request is rejected.
  bool ip6_literal() {
    ++at_;
    int groups = 0;
    bool gap = false;
    for (bool need_colon = false; *at_ != ']'; need_colon = true) {
      if (at_[0] == ':' && at_[1] == ':') {
        if (gap) return false;
        gap = true;
        at_ += 2;
        if (*at_ == ']') break;
      } else if (need_colon && *at_++ != ':') {
        return false;
      }
      if (!ip6_group() || ++groups > 8) return false;
    }
    ++at_;
    return gap || groups > 0;
  }

  bool ip6_group() {
    const char* const start = at_;
    while (base::is_hex_digit(*at_)) ++at_;
    return at_ != start && at_ - start <= 4;
  }

  void port() {
    std::int64_t port = 0;
    while (base::is_digit(*++at_)) {
      port = std::min(port * 10 + (*at_ - '0'), std::int64_t{INT32_MAX});
    }
    parts_.port = static_cast<std::int32_t>(port);
  }

  const char* at_;
  unsigned query_set_;
  UriParts& parts_;
};

}  // namespace

bool parse_uri(const char* text, std::int32_t flags, UriParts& parts) noexcept {
  return UriReader(text, flags, parts).read();
}

}  // namespace kiv::http
