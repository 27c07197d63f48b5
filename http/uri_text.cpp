// URI records as text.
#include <charconv>
#include <cstdio>

#include "http/uri.h"
#include "http/uri_chars.h"

namespace kiv::http {
namespace {

void put_port(TextBuffer& out, const kiv_uri& uri) {
  if (uri.port < 1 || uri.port == default_port(uri.scheme)) return;
  char text[12];
  const char* const end = std::to_chars(text, text + sizeof text, uri.port).ptr;
  out.put(":");
  out.put(text, static_cast<std::size_t>(end - text));
}

void put_server(TextBuffer& out, const kiv_uri& uri) {
  if (uri.host != nullptr) {
    out.put("//");
    if (uri.user != nullptr) {
      put_escaped(out, uri.user, kUriUser);
      out.put("@");
    }
    out.put(uri.host);
    put_port(out, uri);
  } else if (uri.authority != nullptr) {
    out.put("//");
    out.put(uri.authority);
  } else if (uri.scheme != nullptr) {
    // deliberate: the slashes of a server that is not there; a file's path is written so.
    out.put("//");
  }
}

void put_query(TextBuffer& out, const kiv_uri& uri) {
  if (uri.query_raw != nullptr) {
    out.put("?");
    out.put(uri.query_raw);
  } else if (uri.query != nullptr) {
    out.put("?");
    put_escaped(out, uri.query, kPlainInQuery);
  }
}

void print_text(const char* label, const char* text) {
  if (text != nullptr) std::printf("%s: [%s]\n", label, text);
}

}  // namespace
}  // namespace kiv::http

using namespace kiv::http;

char* KIV_CALL kiv_uri_GetURIString(const kiv_uri* uri) KIV_NOEXCEPT {
  if (uri == nullptr) return nullptr;
  TextBuffer out;
  if (uri->scheme != nullptr) {
    out.put(uri->scheme);
    out.put(":");
  }
  if (uri->opaque != nullptr) {
    put_escaped(out, uri->opaque, kPlainInQuery);
  } else {
    put_server(out, *uri);
    if (uri->path != nullptr) put_escaped(out, uri->path, kPlainInPath);
    put_query(out, *uri);
  }
  if (uri->fragment != nullptr) {
    out.put("#");
    put_escaped(out, uri->fragment, kPlainInQuery);
  }
  return out.release();
}

char* KIV_CALL kiv_uri_GetURIRequest(const kiv_uri* uri) KIV_NOEXCEPT {
  if (uri == nullptr) return nullptr;
  TextBuffer out;
  if (uri->path_raw != nullptr) out.put(uri->path_raw);
  if (uri->query_raw != nullptr) {
    out.put("?");
    out.put(uri->query_raw);
  }
  return out.release();
}

void KIV_CALL kiv_uri_print(const kiv_uri* uri) KIV_NOEXCEPT {
  if (uri == nullptr) return;
  const OwnedText whole(kiv_uri_GetURIString(uri));
  const OwnedText request(kiv_uri_GetURIRequest(uri));
  std::printf("==URI print==:\n");
  if (whole) std::printf("uri : %s\n", whole.get());
  print_text("scheme", uri->scheme);
  print_text("opaque", uri->opaque);
  print_text("authority", uri->authority);
  print_text("user", uri->user);
  if (uri->host != nullptr) {
    std::printf("host:port: [%s:%d]\n", uri->host, static_cast<int>(uri->port));
  }
  print_text("path", uri->path);
  print_text("path_raw", uri->path_raw);
  print_text("query", uri->query);
  print_text("query_raw", uri->query_raw);
  print_text("request", request.get());
  print_text("fragment", uri->fragment);
}
