/* URIs, a stream filter, and the encodings. */
#include <stdio.h>
#include <string.h>

#include "kiv_base.h"

static void take_a_uri_apart(void) {
  kiv_uri* const uri = kiv_uri_malloc("http://example.org:8080/a/../my%20file?x=1#top");
  char* const target = kiv_uri_GetURIRequest(uri);
  char* const resolved = kiv_uri_BuildURI("../other", "http://example.org/a/b/c");
  printf("host %s, port %d, path %s\n", kiv_uri_GetHost(uri), (int)kiv_uri_GetPort(uri),
         kiv_uri_GetPath(uri));
  printf("target %s\nresolved %s\n", target, resolved);
  _zu_free(resolved);
  _zu_free(target);
  kiv_uri_free(uri);
}

/* The bytes of a response as they might come: byte by byte. */
static void cut_a_stream(void) {
  static const char stream[] =
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n6\r\n world\r\n0\r\n\r\n";
  kiv_http_filter* const filter = kiv_http_filter_response_make();
  kiv_http_table* table;
  zu_jitter* body;
  int32_t status = 0;
  size_t at;
  for (at = 0; at < strlen(stream); ++at) {
    if (!kiv_http_filter_response_input(filter, stream + at, 1)) break;
    /* Each call may give the next piece of a body. */
    while ((table = kiv_http_filter_response_get(filter, &body, &status)) != NULL) {
      char text[64];
      const int32_t length = zu_jitter_GetData(body, text, (int32_t)sizeof text);
      printf("%.*s%s", (int)length, text, status == KIV_HTTP_COMPLETE ? ", complete\n" : "|");
      zu_jitter_free(body);
      kiv_http_table_free(table);
    }
  }
  kiv_http_filter_response_free(filter);
}

static void encode(void) {
  char base64[32], md5[33], bytes[32];
  char* const escaped = zu_url_escape_malloc("50% of a & b", 0);
  char* const plain = zu_url_unescape_malloc(escaped, 0);
  int32_t length;
  zu_base64_encode(base64, "hello", 5);
  length = zu_base64_decode(bytes, base64, (int32_t)sizeof bytes);
  zu_md5_encode(md5, "hello");
  printf("%s, %s\n%s, %.*s\n%s\n", escaped, plain, base64, (int)length, bytes, md5);
  zu_url_unescape_free(plain);
  zu_url_escape_free(escaped);
}

int main(void) {
  take_a_uri_apart();
  cut_a_stream();
  encode();
  return 0;
}
