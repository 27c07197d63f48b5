/* Sockets, timers and the loops that serve them.
 *
 * zu_sock_*  small helpers over plain sockets
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

#endif
