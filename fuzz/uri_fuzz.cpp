// A first line as URI, path, form and reference, the second as its base: what is printed reads back
// as the same, and a reference without a server of its own never leaves the base's.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "kiv_base/base.h"
#include "kiv_base/http.h"

namespace {

struct Free {
  void operator()(kiv_uri* uri) const { kiv_uri_free(uri); }
};
using Uri = std::unique_ptr<kiv_uri, Free>;

Uri parsed(const std::string& text) {
  return Uri(kiv_uri_malloc(text.c_str()));
}

std::string shown(const char* text) {
  return text == nullptr ? "~" : text;
}

std::string taken(char* text) {
  const std::string result = shown(text);
  _zu_free(text);
  return result;
}

void check(bool holds) {
  if (!holds) std::abort();
}

std::string path_of(const Uri& uri) {
  const std::string path = shown(uri->path);
  return path.empty() ? "/" : path;
}

std::string server_of(const Uri& uri) {
  return shown(uri->user) + "@" + shown(uri->host) + ":" + uri->port_string;
}

// A fragment directly behind the server, where the text read again has an authority and no host.
bool bare(const Uri& uri) {
  return *uri->path == '\0' && uri->query == nullptr && uri->fragment != nullptr;
}

void round_trip(const std::string& text) {
  const Uri uri = parsed(text), clone(kiv_uri_clone(uri.get()));
  const std::string printed = taken(kiv_uri_GetURIString(uri.get()));
  check(taken(kiv_uri_GetURIString(clone.get())) == printed);
  _zu_free(kiv_uri_GetURIRequest(uri.get()));
  kiv_uri_free(kiv_uri_mallocx(text.c_str(), 1));
  if (!uri || uri->host == nullptr || bare(uri)) return;
  const Uri again = parsed(printed);
  check(again && server_of(again) == server_of(uri) && path_of(again) == path_of(uri));
  check(shown(again->query) == shown(uri->query) && shown(again->fragment) == shown(uri->fragment));
}

void resolve(const std::string& text, const std::string& base_text) {
  const Uri reference = parsed(text), base = parsed(base_text);
  const std::string whole = taken(kiv_uri_BuildURI(text.c_str(), base_text.c_str()));
  const std::string way = taken(kiv_uri_BuildRelativeURI(text.c_str(), base_text.c_str()));
  if (!reference || !base || base->host == nullptr) return;
  if (reference->scheme == nullptr && reference->host == nullptr &&
      reference->authority == nullptr) {
    const Uri resolved = parsed(whole);
    check(resolved && (server_of(resolved) == server_of(base) || resolved->path == nullptr));
  }
  if (way.empty() || way == text || path_of(base).starts_with("//")) return;
  const std::string there = taken(kiv_uri_BuildURI(way.c_str(), base_text.c_str()));
  const Uri arrived = parsed(there);
  check(arrived && path_of(arrived) == path_of(reference));
}

void normalise(std::string path) {
  kiv_uri_NormalizeURIPath(path.data());
  std::string again = path.c_str();
  kiv_uri_NormalizeURIPath(again.data());
  check(again.c_str() == std::string(path.c_str()));
}

void look_up(const std::string& text) {
  const std::unique_ptr<char[]> exact(new char[text.size()]);
  text.copy(exact.get(), text.size());
  zu_cgi* form = zu_cgi_malloc(exact.get(), static_cast<std::int32_t>(text.size()));
  char value[5];
  std::int32_t number = 0;
  for (const char* name : {"", "a"}) {
    check(zu_cgi_FormString(form, name, value, sizeof value) >=
          zu_cgi_FormInteger(form, name, &number, 7));
  }
  zu_cgi_free(form);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
  const std::string input(data, size);
  const std::size_t line = input.find('\n');
  const std::string text = input.substr(0, line).c_str();
  const std::string base =
      line == input.npos ? "http://u@h:8/a/b?c" : input.substr(line + 1).c_str();
  round_trip(text);
  resolve(text, base);
  normalise(text);
  look_up(input);
  _zu_free(kiv_uri_PathToURI(text.c_str()));
  return 0;
}
