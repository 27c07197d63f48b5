/* An echo server on two threads, and four clients on the main thread. */
#include <stdio.h>

#include "kiv_base.h"

enum { CLIENTS = 4 };

typedef struct state {
  kiv_bigbox* big;
  kiv_box* box; /* the clients' */
  uintptr_t lock;
  int32_t closed; /* connections that the server has closed; under the lock */
  int32_t answers;
} state;

/* The server: accepting on the master's thread, all else on that of the client's slave. */
static void KIV_CALL on_read(void* big, void* argument, int32_t socket, char* data,
                             int32_t length) {
  (void)argument;
  kiv_bigbox_write((kiv_bigbox*)big, socket, data, length);
}

/* A big box does not close its clients' sockets; a box that adopts one can. */
static void close_socket(void* big, int32_t socket) {
  kiv_box* const master = kiv_bigbox_GetMasterBox((kiv_bigbox*)big);
  kiv_bigbox_DeleteSock((kiv_bigbox*)big, socket);
  if (kiv_box_AcceptTcpClient(master, socket, NULL, NULL, NULL, NULL) > 0) {
    kiv_box_DeleteSock(master, socket);
  }
}

static void KIV_CALL on_close(void* big, void* argument, int32_t socket) {
  state* const all = (state*)argument;
  close_socket(big, socket);
  zu_sem_lock(all->lock);
  if (++all->closed == CLIENTS) kiv_box_BreakLoop(all->box);
  zu_sem_unlock(all->lock);
}

static void KIV_CALL on_accept(void* big, void* argument, int32_t listener, int32_t socket,
                               const char* peer_ip, uint16_t peer_port) {
  (void)listener;
  if (!kiv_bigbox_accept((kiv_bigbox*)big, socket, peer_ip, peer_port, on_read, argument, on_close,
                         argument)) {
    close_socket(big, socket);
  }
}

/* The clients. */
static void KIV_CALL on_connect(void* box, void* argument, int32_t socket) {
  (void)argument;
  kiv_box_TcpWrite((kiv_box*)box, socket, "hello", 5);
}

static void KIV_CALL on_answer(void* box, void* argument, int32_t socket, char* data,
                               int32_t length) {
  (void)data, (void)length;
  ++((state*)argument)->answers;
  kiv_box_DeleteSock((kiv_box*)box, socket);
}

static void KIV_CALL on_failure(void* box, void* argument, int32_t socket) {
  (void)argument, (void)socket;
  printf("client: no connection\n");
  kiv_box_BreakLoop((kiv_box*)box);
}

int main(void) {
  state all = {NULL, NULL, 0, 0, 0};
  uint16_t port = 24200;
  int32_t i;
  kiv_Setup();
  all.lock = zu_sem_malloc();
  all.box = kiv_box_new();
  all.big = kiv_bigbox_make(2, 100);
  if (all.lock == 0 || all.box == NULL || all.big == NULL) return 1;
  while (kiv_bigbox_attach(all.big, "127.0.0.1", port, on_accept, &all) < 0) {
    if (++port == 0) return 1;
  }
  for (i = 0; i < CLIENTS; ++i) {
    kiv_box_NewTcpClient(all.box, "127.0.0.1", port, on_connect, NULL, on_failure, NULL, on_answer,
                         &all, on_failure, NULL);
  }
  kiv_box_loop(all.box);
  zu_sem_lock(all.lock); /* the last one to close may hold it still */
  printf("%d answers, %d connections closed\n", (int)all.answers, (int)all.closed);
  zu_sem_unlock(all.lock);
  zu_sem_free(all.lock);
  kiv_bigbox_free(all.big); /* its threads may end after this */
  kiv_Shutdown();
  return 0;
}
