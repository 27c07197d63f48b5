/* A tunnel through a proxy, to a target that sends back what comes; a few lines play the proxy. */
#include <stdio.h>
#include <string.h>

#include "kiv_base.h"

static kiv_box* box;

/* The proxy. A real one would connect to the target; this one is the target as well. */
static void KIV_CALL on_proxy_read(void* handle, void* argument, int32_t socket, char* data,
                                   int32_t length) {
  static const char accepted[] = "HTTP/1.0 200 Connection established\r\n\r\n";
  (void)handle, (void)argument;
  if (zu_strncmp(data, "CONNECT ", 8) == 0) {
    printf("proxy: %.*s\n", (int)strcspn(data, "\r"), data);
    kiv_box_TcpWrite(box, socket, accepted, (int32_t)strlen(accepted));
  } else {
    kiv_box_TcpWrite(box, socket, data, length);
  }
}

static void KIV_CALL on_proxy_close(void* handle, void* argument, int32_t socket) {
  (void)handle, (void)argument;
  kiv_box_DeleteSock(box, socket);
}

static void KIV_CALL on_proxy_accept(void* handle, void* argument, int32_t listener, int32_t socket,
                                     const char* peer_ip, uint16_t peer_port) {
  (void)handle, (void)argument, (void)listener, (void)peer_ip, (void)peer_port;
  kiv_box_AcceptTcpClient(box, socket, on_proxy_read, NULL, on_proxy_close, NULL);
}

/* The tunnel. */
static void KIV_CALL on_ready(void* user, int32_t socket) {
  (void)user;
  kiv_box_TcpWrite(box, socket, "hello", 5);
}

static void KIV_CALL on_data(void* user, int32_t socket, const char* data, int32_t length) {
  (void)user, (void)socket;
  printf("through the tunnel: %.*s\n", (int)length, data);
  kiv_box_BreakLoop(box);
}

static void KIV_CALL on_end(void* user, int32_t socket) {
  (void)user, (void)socket;
  printf("no tunnel\n");
  kiv_box_BreakLoop(box);
}

int main(void) {
  uint16_t port = 24500;
  kiv_proxy_http* tunnel;
  kiv_Setup();
  box = kiv_box_new();
  tunnel = kiv_proxy_http_make();
  if (box == NULL || tunnel == NULL) return 1;
  while (kiv_box_NewTcpServer(box, "127.0.0.1", port, on_proxy_accept, NULL) < 0) {
    if (++port == 0) return 1;
  }
  if (!kiv_proxy_http_attach(box, tunnel, "127.0.0.1", port, NULL, NULL, "host.example", 22,
                             on_ready, NULL, on_end, NULL, on_data, NULL, on_end, NULL)) {
    return 1;
  }
  kiv_box_loop(box);
  kiv_proxy_http_free(tunnel);
  kiv_Shutdown();
  return 0;
}
