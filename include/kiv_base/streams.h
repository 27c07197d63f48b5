/* Additions: connections that queue what is to be sent, that can be paused and that end in good
 * order.
 *
 * zu_box_sock_*  for a raw box
 * kivx_box_*     for a box that any thread may drive
 * kivx_bigbox_*  for the clients of a big box, on the thread of their slave
 *
 *   void on_read(void* box, void* user, int32_t socket, char* data, int32_t length) {
 *     if (kivx_box_Send(box, socket, data, length) == 0) kiv_box_DeleteSock(box, socket);
 *     else if (kivx_box_GetQueued(box, socket) > 65536) kivx_box_PauseRead(box, socket);
 *   }
 *   void on_drained(void* box, void* user, int32_t socket) { kivx_box_ResumeRead(box, socket); }
 *
 * `socket` is a TCP client that the box opened or adopted, or a client of the big box. Unless it
 * says otherwise, functions return 1, or 0 for any other socket, a NULL or dead handle, an invalid
 * argument or if out of memory. The three forms of a function differ in the handle alone, which the
 * callbacks get as their first argument; all callbacks run on the thread of the loop. A socket that
 * never uses these functions pays nothing for them.
 */
#ifndef KIV_BASE_STREAMS_H
#define KIV_BASE_STREAMS_H

#include "kiv_base/event.h"

/* ---- Reasons ------------------------------------------------------------------------------------
 */

/* Why a connection failed or ended: numbers of Winsock, on every system, and a few of the
 * library's. */
enum {
  KIV_REASON_NONE = 0,
  KIV_REASON_FILE = 1,      /* a file to be sent could not be read to its end */
  KIV_REASON_END = 10101,   /* the peer has ended the stream */
  KIV_REASON_RESET = 10054, /* the peer has closed the connection while data was on its way */
  KIV_REASON_REFUSED = 10061,
  KIV_REASON_TIMED_OUT = 10060, /* of the system, or a limit that was set */
  KIV_REASON_NET_UNREACHABLE = 10051,
  KIV_REASON_HOST_UNREACHABLE = 10065,
  KIV_REASON_NO_MEMORY = 10055
};

/* Returns the reason in a failure, close or closed callback of that socket: one of the above, or
 * the system's error number. 0 outside of one, and on another thread. The big box's form looks at
 * the callback of the calling thread. */
KIV_API int32_t KIV_CALL zu_box_sock_GetReason(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_box_GetReason(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_bigbox_GetReason(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;

/* Returns the text of a reason or of another error number ("connection refused"), never NULL. It is
 * a constant of the library. */
KIV_API const char* KIV_CALL zu_sock_ReasonText(int32_t reason) KIV_NOEXCEPT;

/* ---- Sending ------------------------------------------------------------------------------------
 */

/* A piece of a message. */
typedef struct zu_sock_piece {
  const void* data;
  int32_t length;
} zu_sock_piece;

/* Sends all bytes or none: at once what the system takes, the rest from the loop, in the order of
 * the calls, as soon as it takes more. The bytes are copied as far as needed. Returns 1 if all were
 * sent or queued. Returns 0, with nothing queued, if they would not fit within the limit of the
 * queue, after kivx_box_Shutdown or kivx_box_CloseAfterSend, if the connection is lost, or while
 * the socket is imported for writing. A socket that is still connecting queues everything.
 *
 * If sending fails later, the queue is discarded and the close callback is called with the reason.
 * SendPieces sends several pieces as one message.
 *
 * While bytes are queued, kiv_box_TcpWrite would send ahead of them, and an import of the socket
 * for writing is refused. Deleting or exporting the socket discards the queue. */
KIV_API int KIV_CALL zu_box_sock_Send(zu_box* box, int32_t socket, const void* data,
                                      int32_t length) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_Send(kiv_box* box, int32_t socket, const void* data,
                                   int32_t length) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_Send(kiv_bigbox* big, int32_t socket, const void* data,
                                      int32_t length) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_SendPieces(zu_box* box, int32_t socket,
                                            const zu_sock_piece* pieces,
                                            int32_t count) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_SendPieces(kiv_box* box, int32_t socket, const zu_sock_piece* pieces,
                                         int32_t count) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_SendPieces(kiv_bigbox* big, int32_t socket,
                                            const zu_sock_piece* pieces,
                                            int32_t count) KIV_NOEXCEPT;

/* Sends a part of a regular file in its turn, without copying it through the program where the
 * system can. `path` is UTF-8; the file is opened by the call. A negative length means all bytes
 * from `offset` on. Returns 0 also if the file cannot be opened or is shorter. A file that is cut
 * short later ends the connection with KIV_REASON_FILE. The bytes of files do not count towards
 * the limit. */
KIV_API int KIV_CALL zu_box_sock_SendFile(zu_box* box, int32_t socket, const char* path,
                                          int64_t offset, int64_t length) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_SendFile(kiv_box* box, int32_t socket, const char* path,
                                       int64_t offset, int64_t length) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_SendFile(kiv_bigbox* big, int32_t socket, const char* path,
                                          int64_t offset, int64_t length) KIV_NOEXCEPT;

/* Returns the number of bytes that are queued, those of files included; -1 for an unknown socket.
 */
KIV_API int64_t KIV_CALL zu_box_sock_GetQueued(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int64_t KIV_CALL kivx_box_GetQueued(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int64_t KIV_CALL kivx_bigbox_GetQueued(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;

/* Sets how many bytes of memory may be queued: those queued and those of a new message together
 * stay within `limit` (1048576 at first), even if the system would take the message at once.
 * `on_full`, which may be NULL, is called from the loop after a message was refused for it. */
KIV_API int KIV_CALL zu_box_sock_SetSendLimit(zu_box* box, int32_t socket, int64_t limit,
                                              zu_box_socket_fn on_full,
                                              void* full_arg) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_SetSendLimit(kiv_box* box, int32_t socket, int64_t limit,
                                           zu_box_socket_fn on_full, void* full_arg) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_SetSendLimit(kiv_bigbox* big, int32_t socket, int64_t limit,
                                              zu_box_socket_fn on_full,
                                              void* full_arg) KIV_NOEXCEPT;

/* Sets what is called each time the system has taken the last byte of a queue; NULL for nothing. It
 * is not called for messages that were sent at once. */
KIV_API int KIV_CALL zu_box_sock_SetDrained(zu_box* box, int32_t socket,
                                            zu_box_socket_fn on_drained,
                                            void* drained_arg) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_SetDrained(kiv_box* box, int32_t socket, zu_box_socket_fn on_drained,
                                         void* drained_arg) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_SetDrained(kiv_bigbox* big, int32_t socket,
                                            zu_box_socket_fn on_drained,
                                            void* drained_arg) KIV_NOEXCEPT;

/* ---- Ending -------------------------------------------------------------------------------------
 */

/* Ends the stream to the peer after all that is queued; reading goes on. Nothing can be sent
 * afterwards. Not while connecting. */
KIV_API int KIV_CALL zu_box_sock_Shutdown(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_Shutdown(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_Shutdown(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;

/* Closes a connection without losing what was sent: sends the queue, ends the stream, waits until
 * the peer has ended its own, and closes the socket, that of a big box's client too. What still
 * comes is discarded, so there are no other callbacks from now on. `limit_ms`, at least 1, is how
 * long sending may make no progress, and then how long the peer may take to end; after it the
 * socket is closed all the same.
 *
 * `on_closed`, which may be NULL, is called once when the socket has been closed and is no longer
 * in the box: the reason is KIV_REASON_NONE, or why it was closed earlier. Deleting the socket
 * closes it at once, without the callback; so does the end of its box, and freeing the big box.
 * Returns 0 while connecting and for a second call. */
KIV_API int KIV_CALL zu_box_sock_CloseAfterSend(zu_box* box, int32_t socket, uint32_t limit_ms,
                                                zu_box_socket_fn on_closed,
                                                void* closed_arg) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_CloseAfterSend(kiv_box* box, int32_t socket, uint32_t limit_ms,
                                             zu_box_socket_fn on_closed,
                                             void* closed_arg) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_CloseAfterSend(kiv_bigbox* big, int32_t socket, uint32_t limit_ms,
                                                zu_box_socket_fn on_closed,
                                                void* closed_arg) KIV_NOEXCEPT;

/* ---- Pausing ------------------------------------------------------------------------------------
 */

/* Stops reading from a socket and goes on with it. The socket keeps its handlers and its place in
 * the box, and counts as one that is waited for; what comes meanwhile stays with the system, which
 * slows the peer down. The end of the stream is noticed only after resuming. Nothing changes for a
 * socket that is paused, or reading, already; a client that is still connecting starts paused. The
 * forms for a box also take its UDP sockets and its listening ones. */
KIV_API int KIV_CALL zu_box_sock_PauseRead(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL zu_box_sock_ResumeRead(zu_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_PauseRead(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_ResumeRead(kiv_box* box, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_PauseRead(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_ResumeRead(kiv_bigbox* big, int32_t socket) KIV_NOEXCEPT;

/* ---- Time ---------------------------------------------------------------------------------------
 * Limits cost nothing for each event, and may end late, by an eighth of them. 0 ends a limit. They
 * hold even while other sockets delay the timers of the box.
 */

/* Limits the time that a socket takes to connect, from now on: after `limit_ms` the failure
 * callback is called with KIV_REASON_TIMED_OUT. 0 for a socket that is not connecting. */
KIV_API int KIV_CALL zu_box_sock_SetConnectLimit(zu_box* box, int32_t socket,
                                                 uint32_t limit_ms) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_SetConnectLimit(kiv_box* box, int32_t socket,
                                              uint32_t limit_ms) KIV_NOEXCEPT;

/* Limits silence: `read_ms` without a byte from the peer while reading is on, `write_ms` in which
 * the queue makes no progress. After either, both limits end, reading ends (for a client of a big
 * box it is paused), and the close callback is called with KIV_REASON_TIMED_OUT; a queue that
 * stands still is discarded. */
KIV_API int KIV_CALL zu_box_sock_SetIdleLimit(zu_box* box, int32_t socket, uint32_t read_ms,
                                              uint32_t write_ms) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_box_SetIdleLimit(kiv_box* box, int32_t socket, uint32_t read_ms,
                                           uint32_t write_ms) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_bigbox_SetIdleLimit(kiv_bigbox* big, int32_t socket, uint32_t read_ms,
                                              uint32_t write_ms) KIV_NOEXCEPT;

/* ---- Names and options, by id -------------------------------------------------------------------
 */

/* Stores the local dotted address (cut to `size` - 1 characters) and port of a socket, for instance
 * of a server that was opened on port 0: 1, or 0 if there is none. Both outputs may be NULL. The
 * other end is that of zu_sock_GetPeer. */
KIV_API int KIV_CALL zu_sock_GetLocal(int32_t socket, char* text, int32_t size,
                                      uint16_t* port) KIV_NOEXCEPT;

/* Turns probing of an idle TCP connection on: after `idle_s` seconds without data, every
 * `interval_s` seconds; the connection breaks after `probes` probes without an answer (always 10 on
 * Windows). 1, or 0 for numbers below 1 or above 32767, and when the system refuses. */
KIV_API int KIV_CALL zu_sock_set_keep_alive_times(int32_t socket, int32_t idle_s,
                                                  int32_t interval_s, int32_t probes) KIV_NOEXCEPT;

#endif
