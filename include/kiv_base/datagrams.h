/* Additions: UDP sockets in multicast groups, broadcasts, and many datagrams in one call.
 *
 *   zu_sock_peer to;
 *   zu_sock_MakePeer(&to, "239.1.2.3", 7000);
 *   zu_sock_datagram both[] = {{"first", 5, &to}, {"second", 6, &to}};
 *   zu_sock_set_multicast_ttl(socket, 4);
 *   int32_t sent = zu_sock_WriteDatagrams(socket, both, 2);
 *
 * `socket` is the id of any UDP socket, one of a box or of your own. The functions look at no box:
 * on another thread than that of the loop, be sure that the socket is still open. Unless it says
 * otherwise, functions return 1, or 0 for an invalid argument and when the system refuses.
 */
#ifndef KIV_BASE_DATAGRAMS_H
#define KIV_BASE_DATAGRAMS_H

#include "kiv_base/event.h"

/* ---- Groups -------------------------------------------------------------------------------------
 */

/* Join and leave a multicast group (224.0.0.0 to 239.255.255.255) on the interface that has the
 * address `local_ip`, or on one that the system chooses if that is NULL. Both are numeric. The
 * socket then also receives what is sent to the group and its own port, so bind it to that port and
 * to no address (kiv_box_NewUdpServer with a NULL address). Closing the socket leaves its groups.
 * Joining twice and leaving a group that was not joined fail. */
KIV_API int KIV_CALL zu_sock_join_group(int32_t socket, const char* group,
                                        const char* local_ip) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_leave_group(int32_t socket, const char* group,
                                         const char* local_ip) KIV_NOEXCEPT;

/* Set how many networks a datagram to a group may pass through (0 to 255; 1 at first, which is the
 * local network, 0 is this machine), and from which interface, by its address, it is sent. */
KIV_API int KIV_CALL zu_sock_set_multicast_ttl(int32_t socket, int32_t ttl) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_set_multicast_interface(int32_t socket,
                                                     const char* local_ip) KIV_NOEXCEPT;

/* Sets whether members of a group on this machine get what is sent here (on at first). Linux asks
 * the socket that sends, Windows the one that receives. */
KIV_API int KIV_CALL zu_sock_set_multicast_loop(int32_t socket, int on) KIV_NOEXCEPT;

/* Allow or forbid (at first) sending to broadcast addresses. */
KIV_API int KIV_CALL zu_sock_set_broadcast(int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_sock_set_nonbroadcast(int32_t socket) KIV_NOEXCEPT;

/* ---- Many at once -------------------------------------------------------------------------------
 */

/* One datagram to be sent, or room for one that is received. */
typedef struct zu_sock_datagram {
  void* data;
  int32_t length; /* of what is sent; receiving replaces the size of the room by it */
  zu_sock_peer* peer;
} zu_sock_datagram;

/* Fills in a peer from a numeric address and a port. 0, and no change, for any other text, a NULL
 * argument or port 0. */
KIV_API int KIV_CALL zu_sock_MakePeer(zu_sock_peer* peer, const char* ip,
                                      uint16_t port) KIV_NOEXCEPT;

/* Sends datagrams in their order, each to its peer, with as few system calls as possible. Returns
 * how many were sent, which may be fewer than `count`: the rest was not. Returns -1 if the system
 * refuses the first, also because its buffer is full. One without data, with a length below 1 or
 * without a peer ends the sending, so the result is 0 if it is the first, as it is for a NULL
 * array, a count or a socket below 1. */
KIV_API int32_t KIV_CALL zu_sock_WriteDatagrams(int32_t socket, const zu_sock_datagram* datagrams,
                                                int32_t count) KIV_NOEXCEPT;

/* Receives up to `count` datagrams that have arrived, and never waits: in a datagram callback,
 * those behind the one it was called for. Each goes to `data`; `length` is the room at first, and
 * then what was received: 0 for an empty one, -1 for one that was longer than the room, which is
 * lost. `peer`, which may be NULL, gets the sender. Returns how many there were, or -1 if there was
 * none or the system refuses. Room that is NULL or has a length below 1 ends the receiving, with
 * the result 0 if it is the first, as for a NULL array, a count or a socket below 1. */
KIV_API int32_t KIV_CALL zu_sock_ReadDatagrams(int32_t socket, zu_sock_datagram* datagrams,
                                               int32_t count) KIV_NOEXCEPT;

#endif
