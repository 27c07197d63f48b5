/* An HTTP server, and a request to it, in one loop. */
#include <stdio.h>
#include <string.h>

#include "kiv_base.h"

static kiv_box* box;

/* The server. It writes answers by itself; the head comes from a table. */
static void answer(int32_t socket, const char* status, const char* body) {
  char number[24];
  char* head;
  char* whole;
  kiv_http_table* const table = kiv_http_table_make();
  kiv_http_table_SetStatus(table, status);
  kiv_http_table_SetField(table, "Content-Type", "text/plain");
  kiv_http_table_SetField(table, "Content-Length",
                          zu_longlong_to_str((int64_t)strlen(body), number));
  head = kiv_http_table_GetHeaderStr(table);
  whole = zu_strdup2(head, body);
  if (whole != NULL) kiv_box_TcpWrite(box, socket, whole, (int32_t)strlen(whole));
  _zu_free(whole);
  _zu_free(head);
  kiv_http_table_free(table);
}

static void KIV_CALL on_request(kiv_http_server* server, void* user, int32_t socket,
                                kiv_http_table* request, zu_jitter* body) {
  kiv_uri* const target = kiv_uri_malloc(kiv_http_table_GetRequest(request));
  const char* const path = kiv_uri_GetPath(target);
  (void)server, (void)user;
  printf("server: %s %s, %d bytes\n", kiv_http_table_GetMethod(request), path == NULL ? "?" : path,
         (int)zu_jitter_GetLen(body));
  if (path != NULL && zu_strcmp(path, "/greeting") == 0) {
    char name[64], text[128], form[256];
    const int32_t length = zu_jitter_GetData(body, form, (int32_t)sizeof form);
    zu_cgi* const fields = zu_cgi_malloc(form, length);
    if (!zu_cgi_FormString(fields, "name", name, (int32_t)sizeof name)) zu_strncpy(name, "you", 63);
    snprintf(text, sizeof text, "Hello, %s!", name);
    answer(socket, kiv_http_status_lines[3], text); /* 200 OK */
    zu_cgi_free(fields);
  } else {
    answer(socket, "404 Not Found", "Nothing here.");
  }
  kiv_uri_free(target);
}

static void KIV_CALL on_client_close(kiv_http_server* server, void* user, int32_t socket) {
  (void)user;
  kiv_http_server_DeleteClient(server, socket);
}

static void KIV_CALL on_accept(kiv_http_server* server, void* user, int32_t socket,
                               const char* peer_ip, uint16_t peer_port) {
  (void)user, (void)peer_ip, (void)peer_port;
  kiv_http_server_AcceptClient(server, socket, on_request, NULL, on_client_close, NULL);
}

/* The client. */
static void KIV_CALL on_response(void* user, kiv_box* on_box, int32_t socket, const char* url,
                                 kiv_http_table* response, zu_jitter* body, int32_t status) {
  char text[256];
  const int32_t length = zu_jitter_GetData(body, text, (int32_t)sizeof text);
  (void)on_box, (void)socket, (void)url;
  printf("client: %s: %.*s\n", kiv_http_table_GetStatus(response), (int)length, text);
  if (status != KIV_HTTP_COMPLETE) return; /* more is to come */
  kiv_http_request_free((kiv_http_request*)user);
  kiv_box_BreakLoop(box);
}

static void KIV_CALL on_end(void* user, kiv_box* on_box, int32_t socket) {
  (void)on_box, (void)socket;
  printf("client: no answer\n");
  kiv_http_request_free((kiv_http_request*)user);
  kiv_box_BreakLoop(box);
}

int main(void) {
  uint16_t port = 24400;
  char url[64];
  kiv_http_server* server;
  kiv_http_request* request;
  kiv_Setup();
  box = kiv_box_new();
  server = kiv_http_server_make();
  request = kiv_http_request_make();
  if (box == NULL || server == NULL || request == NULL) return 1;
  while (!kiv_http_server_attach(box, server, port, on_accept, NULL)) {
    if (++port == 0) return 1;
  }
  snprintf(url, sizeof url, "http://127.0.0.1:%d/greeting", port);
  kiv_http_request_SetMethod(request, "POST");
  kiv_http_request_SetForm(request, "name", "Ann & Bob");
  if (!kiv_http_request_attach(box, 0, request, url, NULL, NULL, on_end, request, on_response,
                               request, on_end, request)) {
    return 1; /* the request has been freed */
  }
  kiv_box_loop(box);
  kiv_http_server_free(server);
  kiv_Shutdown();
  return 0;
}
