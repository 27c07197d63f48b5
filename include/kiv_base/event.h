/* Sockets, timers and the loops that serve them.
 *
 * - zu_sock_*: small functions over plain sockets
 * - zu_box_*: sockets and timers served by one loop, for one thread
 * - kiv_box_*: the same for any thread, through checked handles (kivx_box_*: variants)
 * - kivx_ThreadBox_*: such a box on its own thread
 * - kiv_bigbox_*: TCP clients distributed over several such boxes
 *
 * New programs start with kiv_box; its functions repeat their contracts in full.
 *
 *   zu_sock_peer peer;
 *   char text[512];
 *   int32_t length = zu_sock_read_ByAddr(socket, text, sizeof text, &peer);
 *   if (length > 0) zu_sock_write_ByAddr(socket, text, length, &peer);
 *
 * Sockets are IPv4 sockets of the system, passed as positive 32-bit ids. Error numbers are those of
 * Winsock on every system (10035: would block, 10038: not a socket). */
#ifndef KIV_BASE_EVENT_H
#define KIV_BASE_EVENT_H

#include "kiv_base/export.h"

/* ---- zu_sock: functions over sockets -----------------------------------------------------------
 *
 * May be called from any thread. Only the very first start-up must not race: call kiv_Setup, or any
 * of these functions, before starting threads. Nothing here prints. */

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
  char ip[16];      /* the address in dotted form */
  uint32_t address; /* host order */
  uint16_t port;    /* host order */
} zu_sock_peer;

/* One dotted address of zu_sock_GetHostIP, with its terminator. */
typedef char zu_sock_ip_slot[21];

/* Starts the network once for the process. Returns 1 if it is started, or 0 if it cannot be. The
 * other functions call it themselves. Cleanup stops the network, which may be started again. */
KIV_API int KIV_CALL zu_sock_startup(void) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_sock_cleanup(void) KIV_NOEXCEPT;

/* Makes the socket blocking or non-blocking. Returns 0, or -1 on failure. */
KIV_API int KIV_CALL zu_sock_set_block(int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_set_nonblock(int32_t socket) KIV_NOEXCEPT;

/* Set an option. Each returns 1, or 0 if the system rejects it: sizes of the system's buffers in
 * bytes; probing of idle TCP connections; how many seconds closing waits for unsent data; Nagle's
 * algorithm (set_delay: on, set_nondelay: off, so small writes are sent immediately); binding to an
 * address that is still in use. */
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

/* Stores the pending error of a socket (0: none), or the error of the query itself; `status` may be
 * NULL. Reading a pending error clears it. The result has no meaning. */
KIV_API int KIV_CALL zu_sock_fd_status(int32_t socket, int32_t* status) KIV_NOEXCEPT;

/* Returns 1 if `socket` is an open socket; else 0 and stores the error in `error`, which may be
 * NULL. Clears the pending error of the socket. */
KIV_API int KIV_CALL zu_sock_is_fd_valid(int32_t socket, int32_t* error) KIV_NOEXCEPT;

/* Returns 1 if a write would not block now, else 0; also 0 for an invalid socket. */
KIV_API int KIV_CALL zu_sock_is_fd_writable(int32_t socket) KIV_NOEXCEPT;

/* Returns 1 if `text` is a numeric IPv4 address in any form of inet_addr ("10.0.0.1", "127.1",
 * "0x7f000001"), else 0. Returns 0 for 255.255.255.255. */
KIV_API int KIV_CALL zu_sock_IsRealIp(const char* text) KIV_NOEXCEPT;

/* Stores the name of this machine. Returns 0, or -1 if the buffer is NULL or too short. */
KIV_API int KIV_CALL zu_sock_GetLocalHostname(char* buffer, int32_t length) KIV_NOEXCEPT;

/* Stores the addresses of a host, or of this machine, in the resolver's order. Returns 1, or 0 if
 * the host is unknown. At most `max_slots` addresses are stored; `count`, which may be NULL,
 * receives their number. A numeric host is copied as it stands (at most 20 characters) and counts
 * as one address, even if there is no slot to store it in. A look-up may take seconds. */
KIV_API int KIV_CALL zu_sock_GetHostIP(const char* host, zu_sock_ip_slot* slots, int32_t max_slots,
                                       int32_t* count) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_GetLocalHostIP(zu_sock_ip_slot* slots, int32_t max_slots,
                                            int32_t* count) KIV_NOEXCEPT;

/* Stores the first address of a host. Returns 1, or 0 if it has none. GetHostFirstIP stores a
 * string (at most 15 characters and a terminator, so `text` holds 16), HostnameTo32bits a number in
 * host order. */
KIV_API int KIV_CALL zu_sock_GetHostFirstIP(const char* host, char* text) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_HostnameTo32bits(uint32_t* address, const char* host) KIV_NOEXCEPT;

/* Stores the dotted address (truncated to `size` - 1 characters) and the port of the other end of a
 * connection. Returns 1, or 0 if there is none. Both outputs may be NULL. */
KIV_API int KIV_CALL zu_sock_GetPeer(int32_t socket, char* text, int32_t size,
                                     uint16_t* port) KIV_NOEXCEPT;

/* Sends one datagram. Returns the number of bytes sent, -1 if the system rejects it, or 0 for a
 * NULL argument, a length below 1 or port 0. `ip` is numeric; `port` is in host order. ByAddr uses
 * only the record's `addr` and `addr_len`. */
KIV_API int32_t KIV_CALL zu_sock_write_ByPeerIp(int32_t socket, const void* data, int32_t length,
                                                const char* ip, uint16_t port) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_sock_write_ByAddr(int32_t socket, const void* data, int32_t length,
                                              const zu_sock_peer* peer) KIV_NOEXCEPT;

/* Receives one datagram of at most `length` bytes. Returns its length, or -1 if there is none or if
 * it was longer (it is then lost). The sender is stored if at least one byte arrived: `ip` holds 16
 * characters; `ip`, `port` and `peer` may be NULL. Every call resets the record's `addr` and
 * `addr_len`; its other fields keep their values if nothing arrived. */
KIV_API int32_t KIV_CALL zu_sock_read_ByPeerIp(int32_t socket, void* buffer, int32_t length,
                                               char* ip, uint16_t* port) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_sock_read_ByAddr(int32_t socket, void* buffer, int32_t length,
                                             zu_sock_peer* peer) KIV_NOEXCEPT;

/* ---- the loop ------------------------------------------------------------------------------- */

/* A raw callback of the loop; receives the argument with which it was registered. */
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
 * highest socket id first, and serves timers only if no socket was ready: one peer that never
 * pauses starves every timer and every lower socket of its box.
 *
 * Threads: a box without a lock belongs to one thread. With a lock (zu_box_mallocx) the loop
 * holds it while it works on its tables and does its own reads, and other threads hold it around
 * their calls; such a call takes effect when the wait ends for some other reason. `kiv_box` does
 * all of this itself.
 *
 * Socket ids are the system's socket numbers; every socket that a box opens, accepts or adopts is
 * non-blocking. To close a socket of a box, delete it from the box, and never close it by other
 * means: its number would soon belong to another socket, which a later delete would close. Timer
 * ids are random, 51200 or above. All functions accept a NULL box: those that return ids, counts
 * and lengths then return -1, the others 0. */

typedef struct zu_box zu_box;

/* The application's callbacks. Each receives the box's user callback handle first, then the
 * argument that was registered with it. They run without any lock of the library, may call
 * every box function and may delete or free anything, including the box. A NULL callback is
 * not called. */

/* The socket is connected; could not connect; was closed by the peer. It stays in the box until it
 * is deleted. */
typedef void(KIV_CALL* zu_box_socket_fn)(void* handle, void* argument, int32_t socket);

/* Data arrived. `data` is the box's buffer: valid during the call, with a NUL after its
 * `length` bytes. */
typedef void(KIV_CALL* zu_box_read_fn)(void* handle, void* argument, int32_t socket, char* data,
                                       int32_t length);

/* A connection was accepted. The new socket is non-blocking and belongs to no box: adopt it or
 * close it. Without a callback (NULL) it is closed. */
typedef void(KIV_CALL* zu_box_accept_fn)(void* handle, void* argument, int32_t listener,
                                         int32_t socket, const char* peer_ip, uint16_t peer_port);

/* One datagram of up to 5120 bytes arrived. The length is 0 for an empty datagram; it is 0 with a
 * zeroed `from` for a longer datagram and for a failed read. */
typedef void(KIV_CALL* zu_box_datagram_fn)(void* handle, void* argument, int32_t socket, char* data,
                                           int32_t length, zu_sock_peer* from);

/* A timer fired. `times_fired` includes this firing. */
typedef void(KIV_CALL* zu_box_timer_fn)(void* handle, void* argument, int32_t timer,
                                        int32_t times_fired);

/* Receives one socket. `kind`: 1 TCP client, 2 adopted TCP client, 3 UDP client, 4 TCP server, 5
 * UDP server. */
typedef void(KIV_CALL* zu_box_visit_fn)(void* handle, int32_t kind, int32_t socket, void* argument);

/* Creates an empty box. Returns NULL if out of memory. `lock` is a lock of zu_sem_malloc or 0; the
 * box does not own it, and it must outlive the box. */
KIV_API zu_box* KIV_CALL zu_box_mallocx(uintptr_t lock) KIV_NOEXCEPT;
KIV_API zu_box* KIV_CALL zu_box_malloc(void) KIV_NOEXCEPT;

/* Closes the sockets of the box, except imported ones, and deletes its timers. All calls on a
 * destroyed box fail; it must still be passed to zu_box_free, which destroys first and then frees
 * the record. Inside a callback of the box both stop the loop, and take effect when it ends. */
KIV_API void KIV_CALL zu_box_destroy(zu_box* box) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_box_free(zu_box* box) KIV_NOEXCEPT;

/* Runs the loop on the calling thread until zu_box_BreakLoop is called, until neither a socket nor
 * a timer is left, or until waiting fails permanently. One loop at a time: a call while the loop is
 * running returns immediately. */
KIV_API void KIV_CALL zu_box_StartLoop(zu_box* box) KIV_NOEXCEPT;

/* Ends the loop after the running callback. The stop flag is never cleared: later loops end
 * immediately. */
KIV_API void KIV_CALL zu_box_BreakLoop(zu_box* box) KIV_NOEXCEPT;

/* Sets the first argument of the callbacks; initially it is the box itself. */
KIV_API void KIV_CALL zu_box_SetUserCallbackHandle(zu_box* box, void* handle) KIV_NOEXCEPT;

/* Additions. SetFairRounds: if `on` is not 0, the loop runs in fair rounds: all sockets that one
 * wait reports ready are served once each, the highest first, then all timers that are due, once
 * each, before the next wait, so that no peer starves another or a timer. Off by default. Returns
 * 1, or 0 for a NULL box.
 *
 * SetCapacity changes how many sockets the box can wait for, for each kind, from 1024 to `count`.
 * Returns 1, or 0 for a count below 1 or above the limit of the system's wait (1024 on Windows).
 *
 * SetBacklog changes how many connections may wait to be accepted by a listener of the box,
 * from 100 to `backlog`. Returns 1, or 0 if the socket is not a listener or the system rejects
 * the number. */
KIV_API int KIV_CALL zu_box_SetFairRounds(zu_box* box, int on) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_SetCapacity(zu_box* box, int32_t count) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_SetBacklog(zu_box* box, int32_t listener,
                                            int32_t backlog) KIV_NOEXCEPT;

/* A function that was posted to a loop; receives the box's user callback handle and the argument
 * that was posted with it. */
typedef void(KIV_CALL* zu_box_post_fn)(void* handle, void* argument);

/* Additions. Post queues a function for the loop of a box: it runs on the loop's thread in the next
 * iteration, before any socket, in the order of the posts, however busy the sockets are. Returns 1,
 * or 0 for a NULL box or function or if out of memory. If the box ends before the function could
 * run, `release(argument)` is called instead, unless `release` is NULL.
 *
 * EnablePost lets other threads post to a box that has no lock: call it once, before the loop
 * starts or on its thread. It uses one UDP socket of 127.0.0.1, which no function counts. Returns
 * 1, or 0 if that socket cannot be opened. Without it only the loop's own thread may post. */
KIV_API int KIV_CALL zu_box_EnablePost(zu_box* box) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_Post(zu_box* box, zu_box_post_fn post, void* argument,
                                 zu_event_fn release) KIV_NOEXCEPT;

/* Starts to connect to a host (a name or a dotted address of at most 256 characters; looking up a
 * name blocks the caller). Returns the socket id, or -1; also -1 for ports 0 to 2. Afterwards
 * either `on_connect` is called and reading starts, or `on_failure` is called; the socket stays in
 * the box in both cases. When the peer closes, reading ends and `on_close` is called once. */
KIV_API int32_t KIV_CALL zu_box_sock_AddLocalTcpClient(
    zu_box* box, const char* host, uint16_t port, zu_box_socket_fn on_connect, void* connect_arg,
    zu_box_socket_fn on_failure, void* failure_arg, zu_box_read_fn on_read, void* read_arg,
    zu_box_socket_fn on_close, void* close_arg) KIV_NOEXCEPT;

/* Adopts a connected socket: the box then owns it, and SO_KEEPALIVE is set. Returns the socket, or
 * -1 on failure, also if the box has it already; it then still belongs to the caller. */
KIV_API int32_t KIV_CALL zu_box_sock_AddRemoteTcpClient(zu_box* box, int32_t socket,
                                                        zu_box_read_fn on_read, void* read_arg,
                                                        zu_box_socket_fn on_close,
                                                        void* close_arg) KIV_NOEXCEPT;

/* Opens a UDP socket on a port that the system chooses. Host and port are checked as for a
 * TCP client; nothing is sent, and datagrams from any sender are received. Returns the socket
 * id, or -1. */
KIV_API int32_t KIV_CALL zu_box_sock_AddLocalUdpClient(zu_box* box, const char* host, uint16_t port,
                                                       zu_box_datagram_fn on_datagram,
                                                       void* datagram_arg) KIV_NOEXCEPT;

/* Opens a listening TCP socket (backlog 100) or a UDP socket on a dotted local address; NULL or ""
 * means any address, port 0 any port. Returns the socket id, or -1. */
KIV_API int32_t KIV_CALL zu_box_sock_AddLocalTcpServer(zu_box* box, const char* local_ip,
                                                       uint16_t port, zu_box_accept_fn on_accept,
                                                       void* accept_arg) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_box_sock_AddLocalUdpServer(zu_box* box, const char* local_ip,
                                                       uint16_t port,
                                                       zu_box_datagram_fn on_datagram,
                                                       void* datagram_arg) KIV_NOEXCEPT;

/* Stops waiting for the socket and, if the box owns it, closes it. DeleteThis deletes the socket
 * whose callback is running. */
KIV_API void KIV_CALL zu_box_sock_Delete(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_box_sock_DeleteThis(zu_box* box) KIV_NOEXCEPT;

/* Returns the socket whose callback is running; -1 outside a callback. */
KIV_API int32_t KIV_CALL zu_box_sock_GetThisId(zu_box* box) KIV_NOEXCEPT;

/* Counts, finds or visits the sockets that the box owns; imported ones do not count. IsExist
 * returns 1 or 0. A visitor may delete the socket that it was given and no other. */
KIV_API int32_t KIV_CALL zu_box_sock_GetNumSock(zu_box* box) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_IsExist(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_box_sock_foreach(zu_box* box, zu_box_visit_fn visit,
                                          void* argument) KIV_NOEXCEPT;

/* Sets the maximum length of one read callback of a TCP client: 1 to 5120, other lengths are
 * clamped; 5120 by default. Returns 1, or 0 if the socket is not a TCP client of the box. */
KIV_API int KIV_CALL zu_box_sock_SetMaxReadLen(zu_box* box, int32_t socket,
                                               int32_t length) KIV_NOEXCEPT;

/* Send immediately, from any thread; nothing is queued. Each returns the number of bytes sent,
 * which may be smaller than `length`; or -1 on failure, also if the system's buffer is full: errno
 * is then EAGAIN (on Windows WSAGetLastError() is WSAEWOULDBLOCK); any other error means that the
 * connection is lost. No SIGPIPE is raised. Nagle's algorithm stays on. The box is ignored. The UDP
 * forms return 0 for a NULL address, a length below 1 or port 0. */
KIV_API int32_t KIV_CALL zu_box_sock_TcpWrite(zu_box* box, int32_t socket, const void* data,
                                              int32_t length) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_box_sock_UdpWrite(zu_box* box, int32_t socket, const void* data,
                                              int32_t length, const zu_sock_peer* to) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_box_sock_UdpWriteByIp(zu_box* box, int32_t socket, const void* data,
                                                  int32_t length, const char* ip,
                                                  uint16_t port) KIV_NOEXCEPT;

/* Give a socket away without closing it, by ending the waiting for all kinds or for one. The box
 * forgets a socket that it owns with the last kind. Each returns 1, also for an unknown socket. */
KIV_API int KIV_CALL zu_box_sock_ExportSocketId(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_ExportSocketId_ForRead(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_ExportSocketId_ForWrite(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_ExportSocketId_ForExcept(zu_box* box, int32_t socket) KIV_NOEXCEPT;

/* Wait for a socket that still belongs to the caller: `callback(argument)` runs whenever it is
 * ready for that kind. On POSIX systems any descriptor that can be polled is accepted, such as a
 * pipe. The box neither counts nor closes the socket; delete or export it before closing it. Each
 * returns 1, or 0 for a bad argument, a second import of the same kind, or more than 1024 sockets
 * of that kind. */
KIV_API int KIV_CALL zu_box_sock_ImportSocketId_ForRead(zu_box* box, int32_t socket,
                                                        zu_event_fn callback,
                                                        void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_ImportSocketId_ForWrite(zu_box* box, int32_t socket,
                                                         zu_event_fn callback,
                                                         void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_ImportSocketId_ForExcept(zu_box* box, int32_t socket,
                                                          zu_event_fn callback,
                                                          void* argument) KIV_NOEXCEPT;

/* Create a timer that fires once, repeatedly, or `limit` times (at least 1). Each returns the
 * timer's id; -1 for an interval of 0 or a NULL callback. Each later firing is scheduled from the
 * time at which the previous one was due, so the next callback follows a late one immediately. A
 * timer that has fired for the last time keeps its id until it is deleted. */
KIV_API int32_t KIV_CALL zu_box_timer_AddOnceTimer(zu_box* box, uint32_t interval_ms,
                                                   zu_box_timer_fn callback,
                                                   void* argument) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_box_timer_AddLoopTimer(zu_box* box, uint32_t interval_ms,
                                                   zu_box_timer_fn callback,
                                                   void* argument) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL zu_box_timer_AddLimitTimer(zu_box* box, int32_t limit,
                                                    uint32_t interval_ms, zu_box_timer_fn callback,
                                                    void* argument) KIV_NOEXCEPT;

/* Refresh postpones the next firing by `interval_ms`, counted from when it was due, and replaces
 * callback and argument; RefreshTimeout and RefreshCallback do one of the two. The timer's own
 * interval does not change. Each returns 1, or 0 for an unknown timer, a NULL callback or, in
 * RefreshTimeout, an interval of 0. For a timer that has fired for the last time they return 1, and
 * it does not fire again. */
KIV_API int KIV_CALL zu_box_timer_Refresh(zu_box* box, int32_t timer, uint32_t interval_ms,
                                          zu_box_timer_fn callback, void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_timer_RefreshTimeout(zu_box* box, int32_t timer,
                                                 uint32_t interval_ms) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_timer_RefreshCallback(zu_box* box, int32_t timer,
                                                  zu_box_timer_fn callback,
                                                  void* argument) KIV_NOEXCEPT;

/* Deletes a timer, which is then unknown; an unknown timer is ignored. DeleteThis deletes the timer
 * whose callback is running. */
KIV_API void KIV_CALL zu_box_timer_Delete(zu_box* box, int32_t timer) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_box_timer_DeleteThis(zu_box* box) KIV_NOEXCEPT;

/* Returns the timer whose callback is running; -1 outside a callback. */
KIV_API int32_t KIV_CALL zu_box_timer_GetThisId(zu_box* box) KIV_NOEXCEPT;

/* Counts or finds timers, which exist until they are deleted. IsExist returns 1 or 0. */
KIV_API int32_t KIV_CALL zu_box_timer_GetNumTimer(zu_box* box) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_timer_IsExist(zu_box* box, int32_t timer) KIV_NOEXCEPT;

/* ---- kiv_box: boxes for any thread --------------------------------------------------------------
 *
 * A `kiv_box` is a box that any thread may use, behind a handle that every call checks: each box
 * has its own lock, and a call from another thread wakes the loop with a datagram over 127.0.0.1.
 * The callbacks receive the `kiv_box` as their first argument.
 *
 *   kiv_box* box = kiv_box_new();        // this thread owns the box and runs its loop
 *   kiv_box_NewTcpClient(box, "example.org", 80, on_connect, NULL, on_failure, NULL, ...);
 *   kiv_box_loop(box);                   // frees the box when it ends
 *
 * An iteration of the loop serves at most one ready socket of each kind (read, write, except),
 * the highest socket id first, and serves timers only if no socket was ready: one peer that
 * never pauses starves every timer and every lower socket of its box. kivx_box_SetFairRounds
 * changes that.
 *
 * A box has two UDP sockets of its own, on the first free ports of 127.0.0.1 from 21800 and from
 * 31800 upwards, and one timer of 10 s; they are included in GetNumSock and GetNumTimer. Every
 * program on this machine can send to the first, and each datagram costs an iteration of the loop.
 *
 * Common to all functions: for a handle that is not a live box they do nothing and return -1 (ids,
 * counts, lengths) or 0. They may be called while the object lock is held, never the other way
 * round. Sockets are non-blocking. To close a socket of a box, delete it from the box, never by
 * other means. Callbacks run on the thread that runs the loop, with no lock held, and may call
 * every function here. */

typedef struct kiv_box kiv_box;

/* Creates a box owned by the calling thread. Returns NULL if out of memory or ports. */
KIV_API kiv_box* KIV_CALL kiv_box_new(void) KIV_NOEXCEPT;

/* Runs the loop until it is stopped or waiting fails, then frees the box. One loop at a time: a
 * call while the loop is running returns immediately. While a thread other than the owner runs it,
 * that thread acts as the owner. */
KIV_API void KIV_CALL kiv_box_loop(kiv_box* box) KIV_NOEXCEPT;

/* Stops the loop after the running callback; may be called from any thread. */
KIV_API void KIV_CALL kiv_box_BreakLoop(kiv_box* box) KIV_NOEXCEPT;

/* On the owner's thread: the handle is invalid immediately, and the box is freed now or, inside its
 * loop, when the loop ends. On any other thread: does the same as kiv_box_BreakLoop, so a box whose
 * loop is never run is not freed. */
KIV_API void KIV_CALL kiv_box_free(kiv_box* box) KIV_NOEXCEPT;

/* Returns 1 while the box is alive, else 0. GetThreadId returns the id of the owner's thread, or -1
 * if the box is not alive. */
KIV_API int KIV_CALL kivx_box_IsValid(kiv_box* box) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_box_GetThreadId(kiv_box* box) KIV_NOEXCEPT;

/* Starts to connect to a host, a name or a dotted address of at most 256 characters. A name is
 * looked up first, which blocks the caller; no lock is held meanwhile. Returns the socket id, or -1
 * if the host is unknown, for ports 0 to 2 or if no socket can be opened; no callback follows then.
 *
 * Afterwards either `on_connect` is called and reading starts, or `on_failure` is called. `on_read`
 * receives the bytes as they arrive, at most 5120 at a time. When the peer closes, reading ends and
 * `on_close` is called once. In every case the socket stays in the box until kiv_box_DeleteSock:
 * delete it in `on_failure` and in `on_close`. Each callback may be NULL. If another thread calls,
 * callbacks may run before the id is returned. */
KIV_API int32_t KIV_CALL kiv_box_NewTcpClient(kiv_box* box, const char* host, uint16_t port,
                                              zu_box_socket_fn on_connect, void* connect_arg,
                                              zu_box_socket_fn on_failure, void* failure_arg,
                                              zu_box_read_fn on_read, void* read_arg,
                                              zu_box_socket_fn on_close,
                                              void* close_arg) KIV_NOEXCEPT;

/* Opens a UDP socket on a port that the system chooses. Host and port are checked, and the host is
 * looked up, as for a TCP client; nothing is sent, and datagrams from any sender are received.
 * Returns the socket id, or -1. */
KIV_API int32_t KIV_CALL kiv_box_NewUdpClient(kiv_box* box, const char* host, uint16_t port,
                                              zu_box_datagram_fn on_datagram,
                                              void* datagram_arg) KIV_NOEXCEPT;

/* Opens a listening TCP socket, with a backlog of 100, on a dotted local address; NULL or "" means
 * any address, port 0 any port. Returns the socket id, or -1. `on_accept` receives each connection
 * as a new socket that belongs to no box: pass it to kiv_box_AcceptTcpClient or close it. */
KIV_API int32_t KIV_CALL kiv_box_NewTcpServer(kiv_box* box, const char* local_ip, uint16_t port,
                                              zu_box_accept_fn on_accept,
                                              void* accept_arg) KIV_NOEXCEPT;

/* Opens a UDP socket on a dotted local address and port, with the same meaning of NULL, "" and 0.
 * Returns the socket id, or -1. `on_datagram` receives datagrams of up to 5120 bytes. */
KIV_API int32_t KIV_CALL kiv_box_NewUdpServer(kiv_box* box, const char* local_ip, uint16_t port,
                                              zu_box_datagram_fn on_datagram,
                                              void* datagram_arg) KIV_NOEXCEPT;

/* Adopts a connected socket, typically in the accept callback: the box then owns it, makes it
 * non-blocking and sets SO_KEEPALIVE. Returns the socket, or -1 on failure, also if the box has it
 * already; it then still belongs to the caller. `on_read` and `on_close` are called as for
 * kiv_box_NewTcpClient. */
KIV_API int32_t KIV_CALL kiv_box_AcceptTcpClient(kiv_box* box, int32_t socket,
                                                 zu_box_read_fn on_read, void* read_arg,
                                                 zu_box_socket_fn on_close,
                                                 void* close_arg) KIV_NOEXCEPT;

/* Stops waiting for the socket and, if the box owns it, closes it. An unknown socket is ignored. */
KIV_API void KIV_CALL kiv_box_DeleteSock(kiv_box* box, int32_t socket) KIV_NOEXCEPT;

/* Returns the number of sockets that the box owns, including its own two; imported ones do
 * not count. */
KIV_API int32_t KIV_CALL kiv_box_GetNumSock(kiv_box* box) KIV_NOEXCEPT;

/* Returns the socket whose callback is running; -1 outside a callback. */
KIV_API int32_t KIV_CALL kiv_box_GetThisSockId(kiv_box* box) KIV_NOEXCEPT;

/* Returns 1 if the box owns the socket, else 0. */
KIV_API int KIV_CALL kiv_box_IsSockExist(kiv_box* box, int32_t socket) KIV_NOEXCEPT;

/* Sets the maximum length of one read callback of a TCP client: 1 to 5120, other lengths are
 * clamped; 5120 by default. Returns 1, or 0 if the socket is not a TCP client of the box. */
KIV_API int KIV_CALL kivx_box_SetMaxReadLen(kiv_box* box, int32_t socket,
                                            int32_t length) KIV_NOEXCEPT;

/* Send immediately; nothing is queued. Each returns the number of bytes sent, which may be smaller
 * than `length`; or -1 on failure, also if the system's buffer is full: errno is then EAGAIN (on
 * Windows WSAGetLastError() is WSAEWOULDBLOCK); any other error means that the connection is lost.
 * UdpWrite sends one datagram and returns 0 for a NULL address, a length below 1 or port 0. */
KIV_API int32_t KIV_CALL kiv_box_TcpWrite(kiv_box* box, int32_t socket, const void* data,
                                          int32_t length) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_UdpWrite(kiv_box* box, int32_t socket, const void* data,
                                          int32_t length, const char* ip,
                                          uint16_t port) KIV_NOEXCEPT;

/* The same functions and their counterparts for reading, without lock or check: for callbacks on
 * the box's own thread, with a box that is known to be alive. Each returns the number of bytes, 0
 * at the end of a stream, or -1 on failure. */
KIV_API int32_t KIV_CALL kivx_box_TcpWrite(kiv_box* box, int32_t socket, const void* data,
                                           int32_t length) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_box_UdpWrite(kiv_box* box, int32_t socket, const void* data,
                                           int32_t length, const char* ip,
                                           uint16_t port) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_box_TcpRead(kiv_box* box, int32_t socket, void* buffer,
                                          int32_t length) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_box_UdpRead(kiv_box* box, int32_t socket, void* buffer,
                                          int32_t length, zu_sock_peer* from) KIV_NOEXCEPT;

/* Wait for a socket that still belongs to the caller: `callback(argument)` runs whenever it is
 * ready for that kind, on the box's thread. On POSIX systems any descriptor that can be polled is
 * accepted. The box neither counts nor closes the socket; delete or export it before closing it.
 * Each returns 1, or 0 for a bad argument, a second import of the same kind, or more than 1024
 * sockets of that kind. */
KIV_API int KIV_CALL kivx_box_ImportSockId_ForRead(kiv_box* box, int32_t socket,
                                                   zu_event_fn callback,
                                                   void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_ImportSockId_ForWrite(kiv_box* box, int32_t socket,
                                                    zu_event_fn callback,
                                                    void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_ImportSockId_ForExcept(kiv_box* box, int32_t socket,
                                                     zu_event_fn callback,
                                                     void* argument) KIV_NOEXCEPT;

/* Give a socket away without closing it, by ending the waiting for all kinds or for one. The box
 * forgets a socket that it owns with the last kind. Each returns 1, also for an unknown socket. */
KIV_API int KIV_CALL kivx_box_ExportSockId(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_ExportSockId_ForRead(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_ExportSockId_ForWrite(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_ExportSockId_ForExcept(kiv_box* box, int32_t socket) KIV_NOEXCEPT;

/* Additions; see zu_box_SetFairRounds for the first three. Post queues a function for the loop's
 * thread, as zu_box_Post does; from another thread it wakes the loop with the datagram "Post",
 * unless other posts are already waiting. */
KIV_API int KIV_CALL kivx_box_SetFairRounds(kiv_box* box, int on) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_SetCapacity(kiv_box* box, int32_t count) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_SetBacklog(kiv_box* box, int32_t listener,
                                         int32_t backlog) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_Post(kiv_box* box, zu_box_post_fn post, void* argument,
                                   zu_event_fn release) KIV_NOEXCEPT;

/* Create a timer that fires once, repeatedly, or `limit` times (at least 1). Each returns the
 * timer's id; -1 for an interval of 0 or a NULL callback. Each later firing is scheduled from the
 * time at which the previous one was due. A timer that has fired for the last time keeps its id
 * until it is deleted. */
KIV_API int32_t KIV_CALL kiv_box_NewOnceTimer(kiv_box* box, uint32_t interval_ms,
                                              zu_box_timer_fn callback,
                                              void* argument) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_NewLoopTimer(kiv_box* box, uint32_t interval_ms,
                                              zu_box_timer_fn callback,
                                              void* argument) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_NewLimitTimer(kiv_box* box, int32_t limit, uint32_t interval_ms,
                                               zu_box_timer_fn callback,
                                               void* argument) KIV_NOEXCEPT;

/* Postpones the next firing by `interval_ms`, counted from when it was due, or replaces callback
 * and argument. The timer's own interval does not change. Each returns 1, or 0 for an unknown
 * timer, a NULL callback or an interval of 0. For a timer that has fired for the last time they
 * return 1, and it does not fire again. */
KIV_API int KIV_CALL kiv_box_RefreshTimeout(kiv_box* box, int32_t timer,
                                            uint32_t interval_ms) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_box_RefreshCallback(kiv_box* box, int32_t timer, zu_box_timer_fn callback,
                                             void* argument) KIV_NOEXCEPT;

/* Deletes a timer; an unknown timer is ignored. */
KIV_API void KIV_CALL kiv_box_DeleteTimer(kiv_box* box, int32_t timer) KIV_NOEXCEPT;

/* Returns the number of timers, including the box's own; the timer whose callback is running (-1
 * outside a callback); and 1 if the timer exists, else 0. Timers exist until they are deleted. */
KIV_API int32_t KIV_CALL kiv_box_GetNumTimer(kiv_box* box) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_box_GetThisTimerId(kiv_box* box) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_box_IsTimerExist(kiv_box* box, int32_t timer) KIV_NOEXCEPT;

/* ---- kivx_ThreadBox: a box on its own thread ------------------------------------------------- */

/* Starts a thread that creates a box and runs its loop. Returns the box, which is alive by then;
 * all its callbacks run on the new thread. Returns NULL, after printing a line, if the thread
 * cannot be started; returns NULL if the box cannot be created. */
KIV_API kiv_box* KIV_CALL kivx_ThreadBox_create(void) KIV_NOEXCEPT;

/* Stops the loop of a box; its thread then frees the box and exits. Does not wait for that: the
 * handle may stay valid for a moment, and a running callback is not interrupted. May be called from
 * any thread, also from a callback of the box; a handle that is not a live box is ignored. */
KIV_API void KIV_CALL kivx_ThreadBox_destroy(kiv_box* box) KIV_NOEXCEPT;

/* ---- kiv_bigbox: TCP clients distributed over threads -------------------------------------------
 *
 * A big box has a master, a thread box that accepts connections, and a fixed number of slaves,
 * thread boxes over which the clients are distributed.
 *
 *   void on_read(void* big, void* user, int32_t socket, char* data, int32_t length) {
 *     kiv_bigbox_write(big, socket, data, length);
 *   }
 *   void on_close(void* big, void* user, int32_t socket) {
 *     kiv_bigbox_DeleteSock(big, socket);  // removes it; see below for closing
 *   }
 *   void on_accept(void* big, void* user, int32_t listener, int32_t socket, const char* ip,
 *                  uint16_t port) {
 *     if (kiv_bigbox_accept(big, socket, ip, port, on_read, user, on_close, user) == 0) ...
 *   }
 *   kiv_bigbox* big = kiv_bigbox_make(4, 1000);
 *   kiv_bigbox_attach(big, NULL, 8080, on_accept, user);
 *
 * Callbacks are those of a box, with the big box as their first argument. They run with no lock of
 * the library held and may call everything, including kiv_bigbox_free: accept callbacks run on the
 * master's thread, those of a client always on the thread of its slave. A callback that has
 * started, or is about to start, when another thread deletes its socket or frees the big box still
 * runs to its end.
 *
 * Closing: the big box never closes a client's socket, not even when it is freed. It releases the
 * socket, and the code that deleted it then closes it, for instance by passing it to the master:
 *
 *   kiv_bigbox_DeleteSock(big, socket);
 *   kiv_box* master = kiv_bigbox_GetMasterBox(big);
 *   if (kiv_box_AcceptTcpClient(master, socket, NULL, NULL, NULL, NULL) > 0)
 *     kiv_box_DeleteSock(master, socket);
 *
 * Close the socket only after deleting it, and keep it non-blocking while it is a client. A close
 * callback is repeated in every iteration of the loop, and starves the lower sockets of its slave,
 * until the socket is deleted.
 *
 * A box waits for at most 1022 clients, so a big box of n slaves has room for 1022 * n.
 *
 * Free big boxes before kiv_Shutdown: otherwise their threads keep running and can no
 * longer be reached.
 *
 * Common to all functions: every call checks the handle and may be made from any thread; for a
 * handle that is not a live big box it does nothing and returns the failure value. They may be
 * called while the object lock is held, never the other way round. */

typedef struct kiv_bigbox kiv_bigbox;

/* Creates a big box of `slaves` slaves (1 to 1000) for `max_clients` clients (1 to 50000); other
 * numbers are clamped. Returns NULL if out of memory, threads, ports or descriptors. */
KIV_API kiv_bigbox* KIV_CALL kiv_bigbox_make(int32_t slaves, int32_t max_clients) KIV_NOEXCEPT;

/* Closes the listening sockets that the big box opened, releases all others, and ends the threads
 * without waiting for them. The handle is invalid immediately. May be called from any thread, also
 * from a callback of the big box; a handle that is not a live big box is ignored. */
KIV_API void KIV_CALL kiv_bigbox_free(kiv_bigbox* big) KIV_NOEXCEPT;

/* Opens a listening socket on the master, like zu_box_sock_AddLocalTcpServer. Returns its id, or -1
 * on failure and for a NULL callback. A connection that arrives while the big box has its maximum
 * number of clients is closed without a callback. The new socket in the callback is non-blocking
 * and belongs to nobody: pass it to kiv_bigbox_accept, or elsewhere, or close it. */
KIV_API int32_t KIV_CALL kiv_bigbox_attach(kiv_bigbox* big, const char* local_ip, uint16_t port,
                                           zu_box_accept_fn on_accept,
                                           void* accept_arg) KIV_NOEXCEPT;

/* Makes a connected socket a client of the slave that has the fewest clients (of several, the first
 * in the order of their thread ids); the socket is made non-blocking. If `peer_ip` is NULL, address
 * and port are read from the socket. Returns 1, or 0 if the socket is a client already, if the
 * slave is full and on any other failure: the caller must then close the socket. The maximum number
 * of clients is not checked here.
 *
 * A read callback receives what has arrived: up to 204799 bytes from one of 20 buffers that all
 * big boxes share, or up to 1023 while those are in use. `data` is valid during the call, with a
 * NUL after it. */
KIV_API int KIV_CALL kiv_bigbox_accept(kiv_bigbox* big, int32_t socket, const char* peer_ip,
                                       uint16_t peer_port, zu_box_read_fn on_read, void* read_arg,
                                       zu_box_socket_fn on_close, void* close_arg) KIV_NOEXCEPT;

/* Sends immediately; nothing is queued. Returns the number of bytes sent, which may be smaller than
 * `length`, or -1 if the system rejects the write, also because its buffer is full; 0 for NULL
 * data, a length below 1 or a socket that is not a client. The kivx_ form checks neither the socket
 * nor a handle: for callbacks. */
KIV_API int32_t KIV_CALL kiv_bigbox_write(kiv_bigbox* big, int32_t socket, const void* data,
                                          int32_t length) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_bigbox_write(int32_t socket, const void* data,
                                           int32_t length) KIV_NOEXCEPT;

/* Releases a client without closing its socket; closes a listening socket that the big box opened
 * and releases an imported one; any other socket is deleted from the master. Once this returns, the
 * big box does not read from the client again. */
KIV_API void KIV_CALL kiv_bigbox_DeleteSock(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;

/* Returns the number of clients; 0 on failure. */
KIV_API int32_t KIV_CALL kiv_bigbox_nnodes(kiv_bigbox* big) KIV_NOEXCEPT;

/* Returns the box of a client's slave, or the master; NULL on failure. Use them to run your own
 * timers and sockets on their threads. */
KIV_API kiv_box* KIV_CALL kiv_bigbox_GetSlaveBox(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;
KIV_API kiv_box* KIV_CALL kiv_bigbox_GetMasterBox(kiv_bigbox* big) KIV_NOEXCEPT;

/* Stores the address of a client's peer (truncated to `size` - 1 characters; at most 19 are kept)
 * and its port. Returns 1, or 0 if the socket is not a client. Both outputs may be NULL. */
KIV_API int KIV_CALL kiv_bigbox_GetSockIP(kiv_bigbox* big, int32_t socket, char* text, int32_t size,
                                          uint16_t* port) KIV_NOEXCEPT;

/* For callbacks on a slave's thread, including timers: returns the socket whose callback is
 * running (0 outside a socket's callback), or the slave's box. On any other thread they return
 * 0 or NULL. */
KIV_API int32_t KIV_CALL kiv_bigbox_InvokeClientID(kiv_bigbox* big) KIV_NOEXCEPT;
KIV_API kiv_box* KIV_CALL kiv_bigbox_InvokeSlaveBox(kiv_bigbox* big) KIV_NOEXCEPT;

/* Wait for reading or writing on a connected socket that still belongs to the caller. A socket that
 * is not a client becomes one, as in kiv_bigbox_accept without an address; an existing client gets
 * the given callbacks and keeps its slave and its other callbacks. `on_write` runs in every
 * iteration of the loop in which the socket accepts data, so export it when there is nothing left
 * to write. Each returns 1, or 0 on failure and for a NULL `on_write`. */
KIV_API int KIV_CALL kivx_bigbox_import_ForRead(kiv_bigbox* big, int32_t socket,
                                                zu_box_read_fn on_read, void* read_arg,
                                                zu_box_socket_fn on_close,
                                                void* close_arg) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_import_ForWrite(kiv_bigbox* big, int32_t socket,
                                                 zu_box_socket_fn on_write,
                                                 void* write_arg) KIV_NOEXCEPT;

/* End one kind of waiting; with the last kind the socket stops being a client and stays open. Each
 * returns 1, or 0 if the socket is not a client. */
KIV_API int KIV_CALL kivx_bigbox_export_ForRead(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_export_ForWrite(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;

/* Accepts on a listening socket that still belongs to the caller; it is made non-blocking. If the
 * big box already listens on it, only the callback is replaced. Returns 1, or 0 on failure and
 * for a NULL callback. Exporting ends the accepting, also on a socket that kiv_bigbox_attach
 * opened, which then belongs to the caller; it returns 1, or 0 if the big box does not listen on
 * the socket. */
KIV_API int KIV_CALL kivx_bigbox_import_ForListen(kiv_bigbox* big, int32_t socket,
                                                  zu_box_accept_fn on_accept,
                                                  void* accept_arg) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_export_ForListen(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;

/* Additions. SetFairRounds applies zu_box_SetFairRounds to the master and every slave; SetBacklog
 * applies to a listener of the big box. Post queues a function for the thread that serves a client,
 * as zu_box_Post does; the function receives the big box. Each returns 1, or 0 if the big box is
 * not alive, for an unknown client or listener, or if out of memory. */
KIV_API int KIV_CALL kivx_bigbox_SetFairRounds(kiv_bigbox* big, int on) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_SetBacklog(kiv_bigbox* big, int32_t listener,
                                            int32_t backlog) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_Post(kiv_bigbox* big, int32_t socket, zu_box_post_fn post,
                                      void* argument, zu_event_fn release) KIV_NOEXCEPT;

#endif
