// URI records: made from parts, copied, freed and read.
#include "http/uri.h"

#include <charconv>
#include <cstring>
#include <iterator>

#include "base/ascii.h"
#include "base/layout.h"
#include "http/uri_chars.h"

KIV_LAYOUT(kiv_uri, 60, path, 36);
KIV_LAYOUT(kiv_uri, 60, query_raw, 56);

namespace kiv::http {
namespace {

constexpr char* kiv_uri::*kTexts[] = {&kiv_uri::scheme,   &kiv_uri::opaque, &kiv_uri::authority,
                                      &kiv_uri::host,     &kiv_uri::user,   &kiv_uri::path,
                                      &kiv_uri::path_raw, &kiv_uri::query,  &kiv_uri::fragment,
                                      &kiv_uri::query_raw};

struct DefaultPort {
  std::string_view scheme;
  std::int32_t port;
};
constexpr DefaultPort kDefaultPorts[] = {
    {"http", 80},  {"ftp", 21},    {"https", 443},   {"gopher", 70},   {"ldap", 389},
    {"nntp", 119}, {"snews", 563}, {"imap", 143},    {"pop", 110},     {"sip", 5060},
    {"rtsp", 554}, {"wais", 210},  {"z39.50r", 210}, {"z39.50s", 210}, {"prospero", 191},
    {"nfs", 2049}, {"tip", 3372},  {"acap", 674},    {"telnet", 23},   {"ssh", 22}};

enum class Copy { kAsIs, kKeepEscapes, kDecode };

// deliberate: a backslash in the part is a slash, a decoded one is not; paths of Windows are
// pasted into addresses.
OwnedText component(std::string_view part, Copy how) noexcept {
  if (how == Copy::kAsIs) return copy_text(part.data(), part.size());
  auto text = OwnedText::allocate(part.size() + 1);
  if (!text) return text;
  char* out = text.get();
  for (std::size_t i = 0; i < part.size(); ++i) {
    char c = part[i] == '\\' ? '/' : part[i];
    if (c == '%' && how == Copy::kDecode) {
      c = static_cast<char>(base::hex_value(part[i + 1]) * 16 + base::hex_value(part[i + 2]));
      i += 2;
    }
    *out++ = c;
  }
  *out = '\0';
  return text;
}

// False if out of memory; a part that is not there leaves null.
bool set(char*& slot, std::string_view part, Copy how) noexcept {
  if (part.data() == nullptr) return true;
  slot = component(part, how).release();
  return slot != nullptr;
}

void set_port(kiv_uri& uri, std::int32_t port) noexcept {
  uri.port = port;
  if (port == 0 && uri.host != nullptr) uri.port = default_port(uri.scheme);
  char* const end = uri.port_string + sizeof uri.port_string - 1;
  *std::to_chars(uri.port_string, end, uri.port).ptr = '\0';
}

bool set_path(kiv_uri& uri, std::string_view path, Copy how) noexcept {
  if (path.data() == nullptr && uri.host != nullptr) path = "/";
  if (!set(uri.path, path, how)) return false;
  if (uri.path == nullptr) return true;
  kiv_uri_NormalizeURIPath(uri.path);
  // deliberate: of a raw path each "%" is escaped again; a raw record is taken for plain text, and
  // a server that reads the target gets that text.
  uri.path_raw = escaped(uri.path, kPlainInPath).release();
  return true;
}

}  // namespace

std::int32_t default_port(const char* scheme) noexcept {
  if (scheme == nullptr) return 0;
  const std::string_view name = scheme;
  for (const auto& [known, port] : kDefaultPorts) {
    if (known.size() == name.size() &&
        base::equal_ignoring_case(known.data(), name.data(), name.size())) {
      return port;
    }
  }
  return 0;
}

OwnedUri make_uri(const UriParts& parts, std::int32_t flags) noexcept {
  OwnedUri uri(base::make<kiv_uri>().release());
  if (!uri) return nullptr;
  uri->flags = flags;
  const Copy written = parts.plain ? Copy::kAsIs : Copy::kKeepEscapes;
  const Copy decoded = parts.plain || (flags & KIV_URI_RAW) != 0 ? written : Copy::kDecode;
  if (!set(uri->scheme, parts.scheme, Copy::kAsIs) || !set(uri->opaque, parts.opaque, decoded) ||
      !set(uri->authority, parts.authority, Copy::kAsIs) ||
      !set(uri->host, parts.host, Copy::kAsIs) || !set(uri->user, parts.user, decoded) ||
      !set_path(*uri, parts.path, decoded) || !set(uri->query, parts.query, decoded) ||
      !set(uri->query_raw, parts.query, written) || !set(uri->fragment, parts.fragment, decoded)) {
    return nullptr;
  }
  set_port(*uri, parts.port);
  return uri;
}

}  // namespace kiv::http

using namespace kiv::http;

kiv_uri* KIV_CALL kiv_uri_malloc(const char* text) KIV_NOEXCEPT {
  return kiv_uri_mallocx(text, 0);
}

kiv_uri* KIV_CALL kiv_uri_mallocx(const char* text, int raw) KIV_NOEXCEPT {
  const std::int32_t flags = raw != 0 ? KIV_URI_RAW : 0;
  UriParts parts;
  if (text == nullptr || !parse_uri(text, flags, parts)) return nullptr;
  return make_uri(parts, flags).release();
}

void KIV_CALL kiv_uri_free(kiv_uri* uri) KIV_NOEXCEPT {
  kiv_uri_cleanall(uri);
  kiv::base::destroy(uri);
}

void KIV_CALL kiv_uri_cleanall(kiv_uri* uri) KIV_NOEXCEPT {
  if (uri == nullptr) return;
  for (const auto text : kTexts) kiv::base::deallocate(uri->*text);
  const std::int32_t flags = uri->flags;
  *uri = kiv_uri{};
  uri->flags = flags;
}

kiv_uri* KIV_CALL kiv_uri_clone(const kiv_uri* uri) KIV_NOEXCEPT {
  if (uri == nullptr) return nullptr;
  OwnedUri clone(kiv::base::make<kiv_uri>().release());
  if (!clone) return nullptr;
  for (const auto text : kTexts) {
    if (uri->*text == nullptr) continue;
    (*clone).*text = copy_text(uri->*text, std::strlen(uri->*text)).release();
    if ((*clone).*text == nullptr) return nullptr;
  }
  clone->port = uri->port;
  clone->flags = uri->flags;
  std::memcpy(clone->port_string, uri->port_string, sizeof clone->port_string);
  return clone.release();
}

const char* KIV_CALL kiv_uri_GetScheme(const kiv_uri* uri) KIV_NOEXCEPT {
  return uri == nullptr ? nullptr : uri->scheme;
}

const char* KIV_CALL kiv_uri_GetHost(const kiv_uri* uri) KIV_NOEXCEPT {
  return uri == nullptr ? nullptr : uri->host;
}

const char* KIV_CALL kiv_uri_GetUser(const kiv_uri* uri) KIV_NOEXCEPT {
  return uri == nullptr ? nullptr : uri->user;
}

const char* KIV_CALL kiv_uri_GetPath(const kiv_uri* uri) KIV_NOEXCEPT {
  return uri == nullptr ? nullptr : uri->path;
}

const char* KIV_CALL kiv_uri_GetPathRaw(const kiv_uri* uri) KIV_NOEXCEPT {
  return uri == nullptr ? nullptr : uri->path_raw;
}

const char* KIV_CALL kiv_uri_GetQuery(const kiv_uri* uri) KIV_NOEXCEPT {
  return uri == nullptr ? nullptr : uri->query;
}

const char* KIV_CALL kiv_uri_GetQueryRaw(const kiv_uri* uri) KIV_NOEXCEPT {
  return uri == nullptr ? nullptr : uri->query_raw;
}

const char* KIV_CALL kiv_uri_GetFragment(const kiv_uri* uri) KIV_NOEXCEPT {
  return uri == nullptr ? nullptr : uri->fragment;
}

uint16_t KIV_CALL kiv_uri_GetPort(const kiv_uri* uri) KIV_NOEXCEPT {
  return uri == nullptr ? uint16_t{0} : static_cast<uint16_t>(uri->port);
}

const char* KIV_CALL kiv_uri_GetPortString(const kiv_uri* uri) KIV_NOEXCEPT {
  return uri == nullptr ? nullptr : uri->port_string;
}
