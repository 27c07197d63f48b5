/* Sockets, timers and the loops that serve them.
 *
 * zu_sock_*  small helpers over plain sockets
 * zu_box_*   sockets and timers served by one loop, for one thread
 * kiv_box_*  the same for any thread, behind checked handles (kivx_box_* are their variants)
 * kivx_ThreadBox_*  such a box on a thread of its own
 * kiv_bigbox_*      TCP clients spread over several such boxes
 *
 *   zu_sock_peer peer;
 *   char text[512];
 *   int32_t length = zu_sock_read_ByAddr(socket, text, sizeof text, &peer);
 *   if (length > 0) zu_sock_write_ByAddr(socket, text, length, &peer);
 *
 * Sockets are IPv4 sockets of the system, passed as positive 32-bit ids. Error numbers are those of
 * Winsock on every system (10035: would block, 10038: not a socket).
 */
#ifndef KIV_BASE_EVENT_H
#define KIV_BASE_EVENT_H

#include "kiv_base/export.h"

/* ---- zu_sock: helpers over sockets --------------------------------------------------------------
 * May be called from any thread. Only the very first start-up must not race: call kiv_Setup, or
 * any of these, before starting threads. Nothing here prints.
 */

/* A socket address as the system lays it out; port and address in network order. */
typedef struct zu_sock_addr {
  uint16_t family;
  uint16_t port;
  uint32_t address;
  uint8_t zero[8];
} zu_sock_addr;

/* The sender or receiver of a datagram. */
typedef struct zu_sock_peer {
  zu_sock_addr addr;
  int32_t addr_len;
  char ip[16];      /* dotted text of the address */
  uint32_t address; /* host order */
  uint16_t port;    /* host order */
} zu_sock_peer;

/* One dotted address of zu_sock_GetHostIP with its terminator. */
typedef char zu_sock_ip_slot[21];

/* Starts the network once for the process: 1 when it is started, 0 when it cannot be. The other
 * helpers do so themselves. Cleanup stops it; it may be started again. */
KIV_API int KIV_CALL zu_sock_startup(void) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_sock_cleanup(void) KIV_NOEXCEPT;

/* Lets the calls on a socket wait, or return at once: 0 when done, -1 on failure. */
KIV_API int KIV_CALL zu_sock_set_block(int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_set_nonblock(int32_t socket) KIV_NOEXCEPT;

/* Options, 1 when set and 0 when refused: sizes of the system's buffers in bytes; probing of idle
 * TCP connections; how long closing waits for unsent data, in seconds; the gathering of small TCP
 * writes (set_delay: gather, set_nondelay: send at once); binding to an address still in use. */
KIV_API int KIV_CALL zu_sock_set_recv_buff(int32_t socket, int32_t size) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_set_send_buff(int32_t socket, int32_t size) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_keep_alive(int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_keep_nonalive(int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_set_linger(int32_t socket, uint16_t seconds) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_set_nonlinger(int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_set_delay(int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_set_nondelay(int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_set_reuse(int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_set_nonreuse(int32_t socket) KIV_NOEXCEPT;

/* Stores the pending error of a socket (0: none), or the error of asking for it; `status` may be
 * NULL. Reading a pending error clears it. The result carries no meaning. */
KIV_API int KIV_CALL zu_sock_fd_status(int32_t socket, int32_t* status) KIV_NOEXCEPT;

/* 1 when `socket` is an open socket; else 0 and the error in `error`, which may be NULL. Clears the
 * pending error of the socket. */
KIV_API int KIV_CALL zu_sock_is_fd_valid(int32_t socket, int32_t* error) KIV_NOEXCEPT;

/* 1 when a write would not wait now; 0 also for what is no socket. */
KIV_API int KIV_CALL zu_sock_is_fd_writable(int32_t socket) KIV_NOEXCEPT;

/* 1 when `text` is a numeric IPv4 address in any form of inet_addr ("10.0.0.1", "127.1",
 * "0x7f000001"). 255.255.255.255 is not. */
KIV_API int KIV_CALL zu_sock_IsRealIp(const char* text) KIV_NOEXCEPT;

/* Stores this machine's name: 0, or -1 for a NULL buffer or one too short. */
KIV_API int KIV_CALL zu_sock_GetLocalHostname(char* buffer, int32_t length) KIV_NOEXCEPT;

/* Stores the addresses of a host, or of this machine, in the resolver's order: 1, or 0 when the
 * host is unknown. At most `max_slots` are stored; `count`, which may be NULL, gets their number. A
 * numeric host is copied as it stands (at most 20 characters) and counts as one address, even with
 * no slot to store it in. A look-up may take seconds. */
KIV_API int KIV_CALL zu_sock_GetHostIP(const char* host, zu_sock_ip_slot* slots, int32_t max_slots,
                                       int32_t* count) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_GetLocalHostIP(zu_sock_ip_slot* slots, int32_t max_slots,
                                            int32_t* count) KIV_NOEXCEPT;

/* First address of a host: 1, or 0 when it has none. As text (at most 15 characters and a
 * terminator, so `text` holds 16), or as a number in host order. */
KIV_API int KIV_CALL zu_sock_GetHostFirstIP(const char* host, char* text) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_HostnameTo32bits(uint32_t* address, const char* host) KIV_NOEXCEPT;

/* Dotted address (cut to `size` - 1 characters) and port of the other end of a connection: 1, or 0
 * when there is none. Both outputs may be NULL. */
KIV_API int KIV_CALL zu_sock_GetPeer(int32_t socket, char* text, int32_t size,
                                     uint16_t* port) KIV_NOEXCEPT;

/* Sends one datagram: the bytes sent, -1 when the system refuses, 0 for a NULL argument, a length
 * below 1 or port 0. `ip` is numeric; `port` is in host order. The form with a record uses the
 * record's `addr` and `addr_len` alone. */
KIV_API int32_t KIV_CALL zu_sock_write_ByPeerIp(int32_t socket, const void* data, int32_t length,
                                                const char* ip, uint16_t port) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_sock_write_ByAddr(int32_t socket, const void* data, int32_t length,
                                              const zu_sock_peer* peer) KIV_NOEXCEPT;

/* Receives one datagram of at most `length` bytes: its length, or -1 when there is none or it was
 * longer (it is lost then). The sender is stored when at least one byte came: `ip` holds 16
 * characters; `ip`, `port` and `peer` may be NULL. A record's `addr` and `addr_len` are reset by
 * every call, its other fields keep what they had when nothing came. */
KIV_API int32_t KIV_CALL zu_sock_read_ByPeerIp(int32_t socket, void* buffer, int32_t length,
                                               char* ip, uint16_t* port) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_sock_read_ByAddr(int32_t socket, void* buffer, int32_t length,
                                             zu_sock_peer* peer) KIV_NOEXCEPT;

/* ---- the loop ------------------------------------------------------------------------------- */

/* A raw callback of the loop: gets the argument it was registered with. */
typedef void(KIV_CALL* zu_event_fn)(void* user);

/* ---- zu_box: sockets and timers of one loop -----------------------------------------------------
 *
 * A box owns sockets and timers and serves them on the thread that runs its loop:
 *
 *   zu_box* box = zu_box_malloc();
 *   zu_box_sock_AddLocalTcpServer(box, "127.0.0.1", 8080, on_accept, NULL);
 *   zu_box_StartLoop(box);               // until zu_box_BreakLoop, or nothing is left to wait for
 *   zu_box_free(box);
 *
 * An iteration of the loop serves at most one ready socket of each kind (read, write, except), the
 * highest socket id first, and timers only when no socket was ready: one peer that never pauses
 * holds up every timer and every lower socket of its box.
 *
 * Threads: a box without a lock belongs to one thread. With a lock (zu_box_mallocx) the loop takes
 * it around table work and its own reads, and other threads take it around their calls; such a
 * call is noticed when the wait ends for some other reason. `kiv_box` does all this by itself.
 *
 * Socket ids are the system's socket numbers; every socket that a box opens, accepts or adopts is
 * non-blocking. A box's socket is closed by deleting it and never by other means: its number would
 * soon be another socket's, which a later delete would close. Timer ids are random, 51200 or more.
 * All functions take a NULL box: ids, counts and lengths are then -1, the other results 0.
 */

typedef struct zu_box zu_box;

/* The application's callbacks. All get the box's user callback handle first, then the argument
 * given with them; they run without any lock of the library, may call every box function and may
 * delete or free anything, the box included. A NULL callback is left out. */

/* Connected; could not connect; closed by the peer. The socket stays in the box until deleted. */
typedef void(KIV_CALL* zu_box_socket_fn)(void* handle, void* argument, int32_t socket);

/* `data` is the box's buffer: valid during the call, with a NUL behind its `length` bytes. */
typedef void(KIV_CALL* zu_box_read_fn)(void* handle, void* argument, int32_t socket, char* data,
                                       int32_t length);

/* The new socket is non-blocking and belongs to no box: adopt it or close it. With a NULL
 * callback it is closed. */
typedef void(KIV_CALL* zu_box_accept_fn)(void* handle, void* argument, int32_t listener,
                                         int32_t socket, const char* peer_ip, uint16_t peer_port);

/* One datagram of up to 5120 bytes. The length is 0 for an empty datagram, and with a zeroed
 * `from` for a longer one and for a failed read. */
typedef void(KIV_CALL* zu_box_datagram_fn)(void* handle, void* argument, int32_t socket, char* data,
                                           int32_t length, zu_sock_peer* from);

/* `times_fired` counts this firing. */
typedef void(KIV_CALL* zu_box_timer_fn)(void* handle, void* argument, int32_t timer,
                                        int32_t times_fired);

/* `kind`: 1 TCP client, 2 adopted TCP client, 3 UDP client, 4 TCP server, 5 UDP server. */
typedef void(KIV_CALL* zu_box_visit_fn)(void* handle, int32_t kind, int32_t socket, void* argument);

/* Makes an empty box; NULL when memory runs out. `lock` is a lock of zu_sem_malloc or 0; it is
 * not owned and must outlive the box. */
KIV_API zu_box* KIV_CALL zu_box_mallocx(uintptr_t lock) KIV_NOEXCEPT;
KIV_API zu_box* KIV_CALL zu_box_malloc(void) KIV_NOEXCEPT;

/* Closes the sockets of the box, except imported ones, and drops its timers. A destroyed box
 * refuses everything and still wants zu_box_free, which destroys first and then releases the
 * record. Inside a callback of the box both stop the loop and happen when it ends. */
KIV_API void KIV_CALL zu_box_destroy(zu_box* box) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_box_free(zu_box* box) KIV_NOEXCEPT;

/* Runs the loop on the calling thread until zu_box_BreakLoop, until neither a socket nor a timer
 * is left, or until waiting fails for good. One loop at a time: a call while the loop runs
 * returns at once. */
KIV_API void KIV_CALL zu_box_StartLoop(zu_box* box) KIV_NOEXCEPT;

/* Ends the loop after the callback that is running. The mark stays: later loops end at once. */
KIV_API void KIV_CALL zu_box_BreakLoop(zu_box* box) KIV_NOEXCEPT;

/* Sets what the callbacks get as their first argument; at first that is the box itself. */
KIV_API void KIV_CALL zu_box_SetUserCallbackHandle(zu_box* box, void* handle) KIV_NOEXCEPT;

/* Additions.
 *
 * SetFairRounds: with `on` not 0 the loop runs in fair rounds. All sockets that one wait finds ready
 * are served once each, the highest first, and then the timers that are due, each once, before the
 * next wait: no peer starves another or a timer. Off at first. Returns 1, or 0 for a NULL box.
 *
 * SetCapacity: changes how many sockets may be waited for, for each kind, from 1024 to `count`.
 * Returns 1, or 0 for a count below 1 or above what the system's wait allows (1024 on Windows).
 *
 * SetBacklog: changes how many connections may wait to be accepted by a listener of the box, from
 * 100 to `backlog`. Returns 1, or 0 if it is no listener or the system refuses. */
KIV_API int KIV_CALL zu_box_SetFairRounds(zu_box* box, int on) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_SetCapacity(zu_box* box, int32_t count) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_SetBacklog(zu_box* box, int32_t listener,
                                            int32_t backlog) KIV_NOEXCEPT;

/* A function that is posted to a loop gets the box's user callback handle and the argument that was
 * posted with it. */
typedef void(KIV_CALL* zu_box_post_fn)(void* handle, void* argument);

/* An addition. Posts a function to the loop of a box: it runs on the loop's thread at the next
 * iteration, before any socket, in the order of the posts, whatever floods the sockets. Returns 1,
 * or 0 for a NULL box or function or if out of memory. A function that was posted and will never
 * run, as the box ends first, is replaced by `release(argument)`, which may be NULL and then is not
 * called.
 *
 * EnablePost lets other threads post to a box that has no lock: call it once, before the loop or on
 * its thread. It takes one UDP socket of 127.0.0.1, which counts nowhere. Returns 1, or 0 when there
 * is none to be had. Without it only the loop's own thread may post. */
KIV_API int KIV_CALL zu_box_EnablePost(zu_box* box) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_Post(zu_box* box, zu_box_post_fn post, void* argument,
                                 zu_event_fn release) KIV_NOEXCEPT;

/* Starts to connect to a host (a name or a dotted address of at most 256 characters; a name is
 * looked up here and blocks the caller) and returns the socket id, or -1. Ports 0 to 2 are
 * refused. Either `on_connect` follows, and reading begins, or `on_failure`; the socket stays in
 * the box in both cases. When the peer closes, reading ends and `on_close` is called once. */
KIV_API int32_t KIV_CALL zu_box_sock_AddLocalTcpClient(
    zu_box* box, const char* host, uint16_t port, zu_box_socket_fn on_connect, void* connect_arg,
    zu_box_socket_fn on_failure, void* failure_arg, zu_box_read_fn on_read, void* read_arg,
    zu_box_socket_fn on_close, void* close_arg) KIV_NOEXCEPT;

/* Adopts a connected socket: it becomes the box's own, with SO_KEEPALIVE set. Returns the socket,
 * or -1, also for one that the box has already; it then still belongs to the caller. */
KIV_API int32_t KIV_CALL zu_box_sock_AddRemoteTcpClient(zu_box* box, int32_t socket,
                                                        zu_box_read_fn on_read, void* read_arg,
                                                        zu_box_socket_fn on_close,
                                                        void* close_arg) KIV_NOEXCEPT;

/* Opens a UDP socket on a port of the system's choice. Host and port are checked as for a TCP
 * client; nothing is sent, and datagrams from anyone are received. Socket id or -1. */
KIV_API int32_t KIV_CALL zu_box_sock_AddLocalUdpClient(zu_box* box, const char* host, uint16_t port,
                                                       zu_box_datagram_fn on_datagram,
                                                       void* datagram_arg) KIV_NOEXCEPT;

/* Opens a listening TCP socket (backlog 100) or a UDP socket on a dotted local address; NULL or ""
 * is any address, port 0 any port. Socket id or -1. */
KIV_API int32_t KIV_CALL zu_box_sock_AddLocalTcpServer(zu_box* box, const char* local_ip,
                                                       uint16_t port, zu_box_accept_fn on_accept,
                                                       void* accept_arg) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_box_sock_AddLocalUdpServer(zu_box* box, const char* local_ip,
                                                       uint16_t port,
                                                       zu_box_datagram_fn on_datagram,
                                                       void* datagram_arg) KIV_NOEXCEPT;

/* Ends all waiting for the socket and, when it is the box's own, closes it. DeleteThis takes the
 * socket whose callback is running. */
KIV_API void KIV_CALL zu_box_sock_Delete(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_box_sock_DeleteThis(zu_box* box) KIV_NOEXCEPT;

/* The socket whose callback is running, -1 outside of one. */
KIV_API int32_t KIV_CALL zu_box_sock_GetThisId(zu_box* box) KIV_NOEXCEPT;

/* The sockets that the box owns; imported ones are not among them. A visitor may delete the
 * socket that it is shown and no other. */
KIV_API int32_t KIV_CALL zu_box_sock_GetNumSock(zu_box* box) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_IsExist(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_box_sock_foreach(zu_box* box, zu_box_visit_fn visit,
                                          void* argument) KIV_NOEXCEPT;

/* Sets how many bytes one read callback of a TCP client gets at most: 1 to 5120, the nearer end
 * for other lengths; 5120 at first. 1 when the socket is such a client, else 0. */
KIV_API int KIV_CALL zu_box_sock_SetMaxReadLen(zu_box* box, int32_t socket,
                                               int32_t length) KIV_NOEXCEPT;

/* Send at once, from any thread; nothing is queued. Bytes sent, which may be fewer than given; -1
 * on failure, also when the system's buffer is full: errno is then EAGAIN (on Windows
 * WSAGetLastError() is WSAEWOULDBLOCK), and another if the connection is lost. No SIGPIPE is
 * raised. Nagle's algorithm is left on. The box is ignored. The UDP forms return 0 for a NULL
 * address, a length below 1 or port 0. */
KIV_API int32_t KIV_CALL zu_box_sock_TcpWrite(zu_box* box, int32_t socket, const void* data,
                                              int32_t length) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_box_sock_UdpWrite(zu_box* box, int32_t socket, const void* data,
                                              int32_t length, const zu_sock_peer* to) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_box_sock_UdpWriteByIp(zu_box* box, int32_t socket, const void* data,
                                                  int32_t length, const char* ip,
                                                  uint16_t port) KIV_NOEXCEPT;

/* Give a socket away without closing it: ends the waiting for all kinds or for one. The box
 * forgets a socket of its own with the last kind. 1, also for an unknown socket. */
KIV_API int KIV_CALL zu_box_sock_ExportSocketId(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_ExportSocketId_ForRead(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_ExportSocketId_ForWrite(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_ExportSocketId_ForExcept(zu_box* box, int32_t socket) KIV_NOEXCEPT;

/* Wait for a socket that stays the caller's: `callback(argument)` runs whenever it is ready for
 * the kind. On POSIX systems any descriptor that can be polled will do, such as a pipe. The box
 * neither counts nor closes it; delete or export it before closing it. 1, or 0 for a bad argument,
 * a second import of one kind, or more than 1024 sockets of it. */
KIV_API int KIV_CALL zu_box_sock_ImportSocketId_ForRead(zu_box* box, int32_t socket,
                                                        zu_event_fn callback,
                                                        void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_ImportSocketId_ForWrite(zu_box* box, int32_t socket,
                                                         zu_event_fn callback,
                                                         void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_ImportSocketId_ForExcept(zu_box* box, int32_t socket,
                                                          zu_event_fn callback,
                                                          void* argument) KIV_NOEXCEPT;

/* Make a timer that fires once, again and again, or `limit` times (at least 1). Returns its id;
 * -1 for an interval of 0 or a NULL callback. Later firings count from the time that the last one
 * was due, so a late callback is followed by the next at once. A timer that has fired for the last
 * time keeps its id until it is deleted. */
KIV_API int32_t KIV_CALL zu_box_timer_AddOnceTimer(zu_box* box, uint32_t interval_ms,
                                                   zu_box_timer_fn callback,
                                                   void* argument) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_box_timer_AddLoopTimer(zu_box* box, uint32_t interval_ms,
                                                   zu_box_timer_fn callback,
                                                   void* argument) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_box_timer_AddLimitTimer(zu_box* box, int32_t limit,
                                                    uint32_t interval_ms, zu_box_timer_fn callback,
                                                    void* argument) KIV_NOEXCEPT;

/* Refresh puts the next firing off by `interval_ms`, counted from when it was due, and replaces
 * callback and argument; the other two do one of these. The timer's own interval stays. 1, or 0
 * for an unknown timer, a NULL callback or, in RefreshTimeout, an interval of 0. A timer that has
 * fired for the last time gives 1 and does not fire again. */
KIV_API int KIV_CALL zu_box_timer_Refresh(zu_box* box, int32_t timer, uint32_t interval_ms,
                                          zu_box_timer_fn callback, void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_timer_RefreshTimeout(zu_box* box, int32_t timer,
                                                 uint32_t interval_ms) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_timer_RefreshCallback(zu_box* box, int32_t timer,
                                                  zu_box_timer_fn callback,
                                                  void* argument) KIV_NOEXCEPT;

/* Ends a timer, which is then unknown; an unknown one is ignored. DeleteThis takes the timer whose
 * callback is running. */
KIV_API void KIV_CALL zu_box_timer_Delete(zu_box* box, int32_t timer) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_box_timer_DeleteThis(zu_box* box) KIV_NOEXCEPT;

/* The timer whose callback is running, -1 outside of one. */
KIV_API int32_t KIV_CALL zu_box_timer_GetThisId(zu_box* box) KIV_NOEXCEPT;

/* Timers count, and exist, until they are deleted. */
KIV_API int32_t KIV_CALL zu_box_timer_GetNumTimer(zu_box* box) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_timer_IsExist(zu_box* box, int32_t timer) KIV_NOEXCEPT;

/* ---- kiv_box: boxes for any thread --------------------------------------------------------------
 *
 * A `kiv_box` is a raw box that any thread may drive, behind a handle that is checked at every
 * call: each box has a lock of its own, and a call from another thread wakes the loop with a
 * datagram over 127.0.0.1. The callbacks get the `kiv_box` as their first argument.
 *
 *   kiv_box* box = kiv_box_new();        // this thread is its owner and runs its loop
 *   kiv_box_NewTcpClient(box, "example.org", 80, on_connect, NULL, on_failure, NULL, ...);
 *   kiv_box_loop(box);                   // frees the box at its end
 *
 * A box has two UDP sockets of its own, on the first free ports of 127.0.0.1 from 21800 and from
 * 31800 on, and one timer of 10 s; they count in GetNumSock and GetNumTimer. Every program of this
 * machine can send to the first, and each datagram costs an iteration of the loop.
 *
 * What the functions share: a handle that is not a live box gives -1 (ids, counts, lengths) or 0,
 * and does nothing. Otherwise arguments and results are those of the zu_box_* function of like
 * name. They may be called with the object lock held, never the other way round.
 */

typedef struct kiv_box kiv_box;

/* Makes a box owned by the calling thread; NULL when memory or ports run out. */
KIV_API kiv_box* KIV_CALL kiv_box_new(void) KIV_NOEXCEPT;

/* Runs the loop until it is broken or waiting fails, then frees the box. One loop at a time: a
 * call while the loop runs returns at once. While a thread other than the owner runs it, that
 * thread takes the owner's place. */
KIV_API void KIV_CALL kiv_box_loop(kiv_box* box) KIV_NOEXCEPT;

/* Makes the loop end; from any thread. */
KIV_API void KIV_CALL kiv_box_BreakLoop(kiv_box* box) KIV_NOEXCEPT;

/* On the owner's thread: the handle is dead at once, and the box is freed now or, inside its loop,
 * when the loop ends. On another thread: the same as kiv_box_BreakLoop, so a box that is never
 * looped stays. */
KIV_API void KIV_CALL kiv_box_free(kiv_box* box) KIV_NOEXCEPT;

/* 1 while the box lives; the id of the owner's thread, -1 for no box. */
KIV_API int KIV_CALL kivx_box_IsValid(kiv_box* box) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_box_GetThreadId(kiv_box* box) KIV_NOEXCEPT;

/* Open or adopt a socket. The host name is looked up before any lock is taken. From another
 * thread callbacks may run before the id is returned. */
KIV_API int32_t KIV_CALL kiv_box_NewTcpClient(kiv_box* box, const char* host, uint16_t port,
                                              zu_box_socket_fn on_connect, void* connect_arg,
                                              zu_box_socket_fn on_failure, void* failure_arg,
                                              zu_box_read_fn on_read, void* read_arg,
                                              zu_box_socket_fn on_close,
                                              void* close_arg) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_NewUdpClient(kiv_box* box, const char* host, uint16_t port,
                                              zu_box_datagram_fn on_datagram,
                                              void* datagram_arg) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_NewTcpServer(kiv_box* box, const char* local_ip, uint16_t port,
                                              zu_box_accept_fn on_accept,
                                              void* accept_arg) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_NewUdpServer(kiv_box* box, const char* local_ip, uint16_t port,
                                              zu_box_datagram_fn on_datagram,
                                              void* datagram_arg) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_AcceptTcpClient(kiv_box* box, int32_t socket,
                                                 zu_box_read_fn on_read, void* read_arg,
                                                 zu_box_socket_fn on_close,
                                                 void* close_arg) KIV_NOEXCEPT;

/* Delete a socket and ask about sockets. */
KIV_API void KIV_CALL kiv_box_DeleteSock(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_GetNumSock(kiv_box* box) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_GetThisSockId(kiv_box* box) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_box_IsSockExist(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_SetMaxReadLen(kiv_box* box, int32_t socket,
                                            int32_t length) KIV_NOEXCEPT;

/* Send at once; see zu_box_sock_TcpWrite. */
KIV_API int32_t KIV_CALL kiv_box_TcpWrite(kiv_box* box, int32_t socket, const void* data,
                                          int32_t length) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_UdpWrite(kiv_box* box, int32_t socket, const void* data,
                                          int32_t length, const char* ip,
                                          uint16_t port) KIV_NOEXCEPT;

/* The same and their counterparts without lock and check: for callbacks on the box's own thread,
 * with a box known to live. Bytes, 0 at the end of a stream, -1 on failure. */
KIV_API int32_t KIV_CALL kivx_box_TcpWrite(kiv_box* box, int32_t socket, const void* data,
                                           int32_t length) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_box_UdpWrite(kiv_box* box, int32_t socket, const void* data,
                                           int32_t length, const char* ip,
                                           uint16_t port) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_box_TcpRead(kiv_box* box, int32_t socket, void* buffer,
                                          int32_t length) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_box_UdpRead(kiv_box* box, int32_t socket, void* buffer,
                                          int32_t length, zu_sock_peer* from) KIV_NOEXCEPT;

/* Move sockets between boxes; see zu_box_sock_ExportSocketId and ImportSocketId_ForRead. */
KIV_API int KIV_CALL kivx_box_ImportSockId_ForRead(kiv_box* box, int32_t socket,
                                                   zu_event_fn callback,
                                                   void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_ImportSockId_ForWrite(kiv_box* box, int32_t socket,
                                                    zu_event_fn callback,
                                                    void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_ImportSockId_ForExcept(kiv_box* box, int32_t socket,
                                                     zu_event_fn callback,
                                                     void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_ExportSockId(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_ExportSockId_ForRead(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_ExportSockId_ForWrite(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_ExportSockId_ForExcept(kiv_box* box, int32_t socket) KIV_NOEXCEPT;

/* Additions; see zu_box_SetFairRounds and zu_box_Post. A post from another thread wakes the loop with
 * the datagram "Post", unless others wait to be run already. */
KIV_API int KIV_CALL kivx_box_SetFairRounds(kiv_box* box, int on) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_SetCapacity(kiv_box* box, int32_t count) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_SetBacklog(kiv_box* box, int32_t listener,
                                         int32_t backlog) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_Post(kiv_box* box, zu_box_post_fn post, void* argument,
                                   zu_event_fn release) KIV_NOEXCEPT;

/* Make, change and delete timers and ask about them. */
KIV_API int32_t KIV_CALL kiv_box_NewOnceTimer(kiv_box* box, uint32_t interval_ms,
                                              zu_box_timer_fn callback,
                                              void* argument) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_NewLoopTimer(kiv_box* box, uint32_t interval_ms,
                                              zu_box_timer_fn callback,
                                              void* argument) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_NewLimitTimer(kiv_box* box, int32_t limit, uint32_t interval_ms,
                                               zu_box_timer_fn callback,
                                               void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_box_RefreshTimeout(kiv_box* box, int32_t timer,
                                            uint32_t interval_ms) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_box_RefreshCallback(kiv_box* box, int32_t timer, zu_box_timer_fn callback,
                                             void* argument) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_box_DeleteTimer(kiv_box* box, int32_t timer) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_GetNumTimer(kiv_box* box) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_GetThisTimerId(kiv_box* box) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_box_IsTimerExist(kiv_box* box, int32_t timer) KIV_NOEXCEPT;

/* ---- kivx_ThreadBox: a box on a thread of its own ---------------------------------------------
 */

/* Starts a thread that makes a box and runs its loop, and returns that box: it is live by then, and
 * all its callbacks run on the new thread. NULL, with a line printed, when the thread cannot be
 * started; NULL when the box cannot be made. */
KIV_API kiv_box* KIV_CALL kivx_ThreadBox_create(void) KIV_NOEXCEPT;

/* Ends the loop of a box; its thread then frees the box and exits by itself. Does not wait for
 * that: the handle may live on for a moment, and a callback that runs is not cut short. From any
 * thread, also from a callback of the box; what is no live box is ignored. */
KIV_API void KIV_CALL kivx_ThreadBox_destroy(kiv_box* box) KIV_NOEXCEPT;

/* ---- kiv_bigbox: TCP clients spread over threads ------------------------------------------------
 *
 * A big box has a master, a thread box that accepts connections, and a fixed number of slaves,
 * thread boxes among which the clients are spread.
 *
 *   void on_read(void* big, void* user, int32_t socket, char* data, int32_t length) {
 *     kiv_bigbox_write(big, socket, data, length);
 *   }
 *   void on_close(void* big, void* user, int32_t socket) {
 *     kiv_bigbox_DeleteSock(big, socket);  // forgets it; see below for closing
 *   }
 *   void on_accept(void* big, void* user, int32_t listener, int32_t socket, const char* ip,
 *                  uint16_t port) {
 *     if (kiv_bigbox_accept(big, socket, ip, port, on_read, user, on_close, user) == 0) ...
 *   }
 *   kiv_bigbox* big = kiv_bigbox_make(4, 1000);
 *   kiv_bigbox_attach(big, NULL, 8080, on_accept, user);
 *
 * Callbacks are those of a box, with the big box as their first argument. They run with no lock of
 * the library held and may call everything, kiv_bigbox_free included: accept callbacks on the
 * master's thread, those of a client always on the thread of its slave. One that has begun, or is
 * about to, when another thread deletes its socket or frees the big box still runs to its end.
 *
 * Closing: the big box never closes a client's socket; nor does freeing it. It lets go of the
 * socket, and whoever deleted it then closes it, for instance by handing it to the master:
 *
 *   kiv_bigbox_DeleteSock(big, socket);
 *   kiv_box* master = kiv_bigbox_GetMasterBox(big);
 *   if (kiv_box_AcceptTcpClient(master, socket, NULL, NULL, NULL, NULL) > 0)
 *     kiv_box_DeleteSock(master, socket);
 *
 * Close it only after that, and leave it non-blocking while it is a client. A close callback
 * repeats in every turn of the loop, and holds up the lower sockets of its slave, until the socket
 * is deleted.
 *
 * A box waits for at most 1022 clients, so a big box of n slaves has room for 1022 * n.
 *
 * Free big boxes before kiv_Shutdown: their threads run on behind it, and nothing reaches them.
 *
 * What the functions share: every call checks the handle, from any thread, and a handle that is
 * not a live big box gives the failure value and does nothing. They may be called with the object
 * lock held, never the other way round.
 */

typedef struct kiv_bigbox kiv_bigbox;

/* Makes a big box of `slaves` slaves (1 to 1000) for `max_clients` clients (1 to 50000); other
 * numbers count as the nearer end. NULL when memory, threads, ports or descriptors run out. */
KIV_API kiv_bigbox* KIV_CALL kiv_bigbox_make(int32_t slaves, int32_t max_clients) KIV_NOEXCEPT;

/* Closes the listening sockets that the big box opened, lets go of all others, and ends the
 * threads, without waiting for them. The handle is dead at once. From any thread, also from a
 * callback of the big box; what is no live big box is ignored. */
KIV_API void KIV_CALL kiv_bigbox_free(kiv_bigbox* big) KIV_NOEXCEPT;

/* Opens a listening socket on the master, as zu_box_sock_AddLocalTcpServer does, and returns its
 * id; -1 on failure and for a NULL callback. A connection that comes while the big box has its
 * maximum of clients is closed without a callback. The new socket in the callback is non-blocking
 * and belongs to nobody: pass it to kiv_bigbox_accept, or elsewhere, or close it. */
KIV_API int32_t KIV_CALL kiv_bigbox_attach(kiv_bigbox* big, const char* local_ip, uint16_t port,
                                           zu_box_accept_fn on_accept,
                                           void* accept_arg) KIV_NOEXCEPT;

/* Makes a connected socket a client of the slave that has the fewest, the first in the order of
 * their thread ids; the socket is made non-blocking. A NULL `peer_ip` asks the socket for address
 * and port. 1, or 0 for one that is a client already, for a full slave and for any other failure:
 * the socket is then still the caller's to close. The maximum of clients is not looked at here.
 *
 * A read callback gets what has come: up to 204799 bytes from one of 20 buffers that all big boxes
 * share, or up to 1023 while those are in use. `data` is valid during the call, with a NUL behind
 * it. */
KIV_API int KIV_CALL kiv_bigbox_accept(kiv_bigbox* big, int32_t socket, const char* peer_ip,
                                       uint16_t peer_port, zu_box_read_fn on_read, void* read_arg,
                                       zu_box_socket_fn on_close, void* close_arg) KIV_NOEXCEPT;

/* Sends at once; nothing is queued. Bytes sent, which may be fewer than given, or -1 when the
 * system refuses, also because its buffer is full; 0 for NULL data, a length below 1 or a socket
 * that is no client. The kivx_ form checks neither the socket nor a handle: for callbacks. */
KIV_API int32_t KIV_CALL kiv_bigbox_write(kiv_bigbox* big, int32_t socket, const void* data,
                                          int32_t length) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_bigbox_write(int32_t socket, const void* data,
                                           int32_t length) KIV_NOEXCEPT;

/* Lets go of a client without closing its socket; closes a listening socket that the big box
 * opened and lets go of one that was imported; any other socket is deleted from the master. Once
 * this returns, the big box does not read from the client again. */
KIV_API void KIV_CALL kiv_bigbox_DeleteSock(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;

/* The number of clients, 0 on failure. */
KIV_API int32_t KIV_CALL kiv_bigbox_nnodes(kiv_bigbox* big) KIV_NOEXCEPT;

/* The box of a client's slave, and the master; NULL on failure. For timers and sockets of one's
 * own on their threads. */
KIV_API kiv_box* KIV_CALL kiv_bigbox_GetSlaveBox(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;
KIV_API kiv_box* KIV_CALL kiv_bigbox_GetMasterBox(kiv_bigbox* big) KIV_NOEXCEPT;

/* The address of a client's peer (cut to `size` - 1 characters; at most 19 are kept) and its port:
 * 1, or 0 when the socket is no client. Both outputs may be NULL. */
KIV_API int KIV_CALL kiv_bigbox_GetSockIP(kiv_bigbox* big, int32_t socket, char* text, int32_t size,
                                          uint16_t* port) KIV_NOEXCEPT;

/* For callbacks on a slave's thread, timers included: the socket whose callback is running, 0
 * outside of a socket's callback, and the slave's box. 0 or NULL on any other thread. */
KIV_API int32_t KIV_CALL kiv_bigbox_InvokeClientID(kiv_bigbox* big) KIV_NOEXCEPT;
KIV_API kiv_box* KIV_CALL kiv_bigbox_InvokeSlaveBox(kiv_bigbox* big) KIV_NOEXCEPT;

/* Wait for reading or writing on a connected socket that stays the caller's. A socket that is no
 * client becomes one, as in kiv_bigbox_accept with no address; a client gets the callbacks given
 * and keeps its slave and its others. `on_write` runs in every turn of the loop in which the
 * socket takes data, so export it when there is nothing left to write. 1, or 0 on failure and for
 * a NULL `on_write`. */
KIV_API int KIV_CALL kivx_bigbox_import_ForRead(kiv_bigbox* big, int32_t socket,
                                                zu_box_read_fn on_read, void* read_arg,
                                                zu_box_socket_fn on_close,
                                                void* close_arg) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_import_ForWrite(kiv_bigbox* big, int32_t socket,
                                                 zu_box_socket_fn on_write,
                                                 void* write_arg) KIV_NOEXCEPT;

/* End one kind of waiting; with the last kind the socket is no client any more, and still open.
 * 1, or 0 for a socket that is no client. */
KIV_API int KIV_CALL kivx_bigbox_export_ForRead(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_export_ForWrite(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;

/* Accept on a listening socket that stays the caller's; it is made non-blocking. One that the big
 * box listens on already only gets the callback given. 1, or 0 on failure and for a NULL callback.
 * Exporting ends the accepting, also of a socket that kiv_bigbox_attach opened, which then is the
 * caller's: 1, or 0 when the big box does not listen on it. */
KIV_API int KIV_CALL kivx_bigbox_import_ForListen(kiv_bigbox* big, int32_t socket,
                                                  zu_box_accept_fn on_accept,
                                                  void* accept_arg) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_export_ForListen(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;

/* Additions. SetFairRounds applies zu_box_SetFairRounds to the master and every slave; SetBacklog to
 * a listener of the big box. Post runs a function on the thread that serves a client, as zu_box_Post
 * does; the function gets the big box. 1, or 0 for a dead big box, an unknown client or listener, or
 * if out of memory. */
KIV_API int KIV_CALL kivx_bigbox_SetFairRounds(kiv_bigbox* big, int on) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_SetBacklog(kiv_bigbox* big, int32_t listener,
                                            int32_t backlog) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_Post(kiv_bigbox* big, int32_t socket, zu_box_post_fn post,
                                      void* argument, zu_event_fn release) KIV_NOEXCEPT;

#endif
