/* Messages on top of the loop: command packets and their framing, a keyword filter, the packet
 * cipher, and virtual connections over UDP.
 *
 * Packets, pools, filters and ciphers are not locked: use each from one thread. Virtual connections
 * belong to a box and may be used from any thread. */
#ifndef KIV_BASE_PROTOCOL_H
#define KIV_BASE_PROTOCOL_H

#include "kiv_base/event.h"

/* ---- Command packets -------------------------------------------------------------------------
 *
 * A packet is one command and up to 64 named values, terminated by a zero byte:
 *
 *     login CRLF user="a""b" CRLF pass="x" CRLF NUL
 *
 * The command and the names have 1 to 128 letters, digits or "_" and do not start with a digit. A
 * value is enclosed in double quotes, holds any bytes except zero, at most 5120 of them, and
 * doubles its double quotes. Line feed, carriage return, ";", "&" and the space are separators, in
 * any number and mixture, also around "=". A packet has at most 10240 bytes including its zero.
 *
 *     kiv_proto* packet = kiv_proto_new();
 *     kiv_proto_PackCmd(packet, "login");
 *     kiv_proto_PackPara(packet, "user", "ann");
 *     if (kiv_proto_GetPacket(packet, &text, &length)) send(text, length);
 *
 * A record holds one packet at a time and can be reused for the next; its storage is allocated
 * once. Unless stated otherwise, functions return 1 on success and 0 on failure, also for NULL
 * arguments. A function that rejects its input prints that input on standard output; a rejected
 * edit leaves the packet unchanged. */
typedef struct kiv_proto kiv_proto;

/* Creates an empty record. Returns NULL if out of memory. */
KIV_API kiv_proto* KIV_CALL kiv_proto_new(void) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_proto_free(kiv_proto* packet) KIV_NOEXCEPT;

/* Returns a newly allocated record with the same packet, parameters and cursor; an empty one if the
 * record has no packet. Returns NULL for NULL or if out of memory. */
KIV_API kiv_proto* KIV_CALL kiv_proto_clone(kiv_proto* packet) KIV_NOEXCEPT;

/* Parses a received packet, whose last byte must be zero, into the record. At most 63 parameters
 * are accepted, although 64 can be packed. Zero bytes between items are skipped; the packet's text
 * in the record ends at the first one, and parameters after it can be read but not edited. If a
 * packet is rejected, the record is empty. */
KIV_API int KIV_CALL kiv_proto_ParsePacket(kiv_proto* packet, const char* bytes,
                                           int32_t length) KIV_NOEXCEPT;

/* Returns 1 if kiv_proto_ParsePacket would accept these bytes, else 0. The record is not used and
 * may be NULL. */
KIV_API int KIV_CALL kiv_proto_CheckPacket(kiv_proto* packet, const char* bytes,
                                           int32_t length) KIV_NOEXCEPT;

/* Starts a new packet; the previous content of the record is discarded. */
KIV_API int KIV_CALL kiv_proto_PackCmd(kiv_proto* packet, const char* command) KIV_NOEXCEPT;

/* Appends a parameter. Returns 0 also if the name exists already. */
KIV_API int KIV_CALL kiv_proto_PackPara(kiv_proto* packet, const char* name,
                                        const char* value) KIV_NOEXCEPT;

/* Edit in place. Each returns 0 also if the item does not lie within the packet's text.
 *
 * ModifyPara: the stored copy, which the getters return, is replaced only if the length of the
 * value's text in the packet changes; the copy is then the escaped text, with doubled quotes,
 * and the value's length stays what it was. The packet itself is correct, and parsing it yields
 * the new value.
 *
 * DeletePara: the following parameters move down, but the lengths of names and values do not; use
 * strlen on the copies after an edit. */
KIV_API int KIV_CALL kiv_proto_ModifyCmd(kiv_proto* packet, const char* command) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_proto_ModifyPara(kiv_proto* packet, const char* name,
                                          const char* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_proto_DeletePara(kiv_proto* packet, const char* name) KIV_NOEXCEPT;

/* Returns the text of the packet, owned by the record, and its length including the zero.
 * Without a packet the text is emptied and the length is 0; kiv_proto_GetPacket then returns
 * 0, and kivx_proto_GetPacket, which returns the text, returns the empty string. NULL for a
 * NULL record. */
KIV_API int KIV_CALL kiv_proto_GetPacket(kiv_proto* packet, const char** text,
                                         int32_t* length) KIV_NOEXCEPT;
KIV_API const char* KIV_CALL kivx_proto_GetPacket(kiv_proto* packet, const char** text,
                                                  int32_t* length) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_proto_GetPacketLen(kiv_proto* packet) KIV_NOEXCEPT;

/* Reads the command, or the value of a parameter; case matters. The kivx_ forms return a string
 * that the record owns, valid until its next change; the others copy as much as fits, with a zero,
 * into `size` bytes and return 0 for a size below 1. */
KIV_API int KIV_CALL kivx_proto_GetCmd(kiv_proto* packet, const char** command,
                                       int32_t* length) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_proto_GetCmd(kiv_proto* packet, char* buffer, int32_t size) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_proto_GetPara(kiv_proto* packet, const char* name, const char** value,
                                        int32_t* length) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_proto_GetPara(kiv_proto* packet, const char* name, char* buffer,
                                       int32_t size) KIV_NOEXCEPT;

/* Returns the number of parameters; 0 for NULL. */
KIV_API int32_t KIV_CALL kiv_proto_NumPara(kiv_proto* packet) KIV_NOEXCEPT;

/* Iterate over the parameters in order: First, then Next until it returns 0; or Next alone after a
 * rewind. Any output may be NULL. */
KIV_API int KIV_CALL kiv_proto_rewind(kiv_proto* packet) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_proto_GetFirst(kiv_proto* packet, const char** name, int32_t* name_length,
                                         const char** value, int32_t* value_length) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_proto_GetNext(kiv_proto* packet, const char** name, int32_t* name_length,
                                        const char** value, int32_t* value_length) KIV_NOEXCEPT;

/* Copy the first parameter: both functions, always. To iterate, use the kivx_ pair. */
KIV_API int KIV_CALL kiv_proto_GetFirst(kiv_proto* packet, char* name, int32_t name_size,
                                        char* value, int32_t value_size) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_proto_GetNext(kiv_proto* packet, char* name, int32_t name_size,
                                       char* value, int32_t value_size) KIV_NOEXCEPT;

/* Sets the separator that all records of the process write after each item from now on: 0 line
 * feed, 1 carriage return and line feed (the default), 2 ";", 4 the space, 8 "&". Any other value
 * changes nothing and returns 0. */
KIV_API int KIV_CALL kivx_proto_SetSpace(int32_t mode) KIV_NOEXCEPT;

/* Stores or reads one parameter of at most 3840 bytes, which is sent as base64 under the name
 * "__custom_switch_data__". Get copies as much as fits; it returns 0 for a capacity below 1 or if
 * there are no bytes. */
KIV_API int KIV_CALL kivx_proto_PackCustomData(kiv_proto* packet, const void* bytes,
                                               int32_t length) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_proto_GetCustomData(kiv_proto* packet, void* buffer, int32_t capacity,
                                              int32_t* length) KIV_NOEXCEPT;

/* Prints the record on standard output. */
KIV_API int KIV_CALL kiv_proto_print(kiv_proto* packet) KIV_NOEXCEPT;

/* ---- Framing of a stream into packets --------------------------------------------------------
 *
 * Collects the bytes of a stream and returns one zero-terminated packet at a time. It holds 20497
 * bytes and, once those are full, up to 100000 further blocks of 10257, so take packets out: if you
 * only feed it, a peer can fill a gigabyte. Prints nothing. */
typedef struct kiv_parse_pool kiv_parse_pool;

/* Creates an empty pool. Returns NULL if out of memory. */
KIV_API kiv_parse_pool* KIV_CALL kiv_parse_pool_malloc(void) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_parse_pool_free(kiv_parse_pool* pool) KIV_NOEXCEPT;

/* Stores all the bytes and returns 1; or stores none and returns 0, if there is no room or if out
 * of memory. */
KIV_API int KIV_CALL kiv_parse_pool_input(kiv_parse_pool* pool, const void* bytes,
                                          int32_t count) KIV_NOEXCEPT;

/* Copies the next packet with its zero and returns 1; returns 0 while none is complete. Runs of
 * zero bytes separate packets and are discarded. Also silently discarded: a packet longer than
 * 10240 bytes including its zero, a packet that does not fit `capacity`, and everything held if
 * 10240 bytes contain no zero. The rest of such a packet is later returned as a packet of its own,
 * so validate what this function returns and not the stream. `length` may be NULL and is 0 if there
 * is no packet. */
KIV_API int KIV_CALL kiv_parse_pool_get(kiv_parse_pool* pool, void* buffer, int32_t capacity,
                                        int32_t* length) KIV_NOEXCEPT;

/* Returns the number of bytes held, or of bytes that still fit. */
KIV_API int32_t KIV_CALL kiv_parse_pool_GetLen(kiv_parse_pool* pool) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_parse_pool_GetAvailableLen(kiv_parse_pool* pool) KIV_NOEXCEPT;

/* ---- Keyword filter --------------------------------------------------------------------------
 *
 * Reports whether a string contains one of a set of keywords; case matters. Space, CR, LF and
 * these 31 punctuation characters are first removed from keywords and input, so that "b.a d"
 * contains "bad":
 *
 *     - = _ / | * & ~ + , . ; " ' : @ [ ] { } % ^ $ ! ( ) \ < > ? `
 *
 * All other bytes are compared: letters, digits, "#", bytes above 127, and also tab and the other
 * control characters, so a tab between "b" and "ad" hides the keyword. */
typedef struct kiv_filter kiv_filter;

/* Creates a filter without keywords. Returns NULL if out of memory. */
KIV_API kiv_filter* KIV_CALL kiv_filter_malloc(void) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_filter_free(kiv_filter* filter) KIV_NOEXCEPT;

/* Adds a keyword (its first 64 characters), with a string (its first 100 characters) and a number
 * (0 in the short form) that a hit returns. Returns 1, or 0 if out of memory. A keyword that is
 * NULL or has no character to compare is stored and never hits. */
KIV_API int KIV_CALL kivx_filter_insert(kiv_filter* filter, const char* keyword, const char* text,
                                        int32_t tag) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_filter_insert(kiv_filter* filter, const char* keyword,
                                       const char* text) KIV_NOEXCEPT;

/* Returns 1 if the first 10240 characters of `text` contain a keyword, else 0. Of several, the one
 * inserted first is reported: its compared characters, its string and its number, owned by the
 * filter. Any output may be NULL; nothing is stored without a hit. */
KIV_API int KIV_CALL kivx_filter_IsHit(kiv_filter* filter, const char* text, const char** keyword,
                                       const char** keyword_text, int32_t* tag) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_filter_IsHit(kiv_filter* filter, const char* text) KIV_NOEXCEPT;

/* ---- Packet cipher ---------------------------------------------------------------------------
 *
 * Protects the bytes of a connection lightly: each block is encrypted on its own, and nothing
 * detects forged bytes. One call encrypts a whole buffer; decryption accepts bytes as they arrive
 * and returns whole blocks.
 *
 *     kiv_cipher_key(key, 16, "secret", "session");
 *     kiv_cipher* cipher = kiv_cipher_malloc(KIV_CIPHER_XTEA, key, 16);
 *     kiv_encipher(cipher, buffer, sizeof buffer, &written, "hello", 5);    // writes 8 bytes
 *
 *     if (kiv_cipher_input(cipher, received, count)) {
 *       while (kiv_cipher_get(cipher, buffer, sizeof buffer, &written) && written > 0) {
 *         use(buffer, written);
 *       }
 *     }
 *
 * Functions return 1 on success and 0 on failure, also for NULL or a negative length. Pointers to
 * counts of bytes written may be NULL; the counts are 0 if the result is 0. Prints nothing. */
typedef struct kiv_cipher kiv_cipher;

enum {
  KIV_CIPHER_NONE = 1,     /* bytes as they are */
  KIV_CIPHER_ROTATION = 2, /* each byte rotated left by two bits; no key */
  KIV_CIPHER_XTEA = 3      /* XTEA in blocks of 8 bytes, words of blocks and key little-endian */
};

/* Creates a cipher. The first 16 bytes of the key are used, and a shorter key is padded with zeros;
 * `key` may be NULL if `key_length` is 0. Returns NULL for an unknown mode, for a missing key where
 * one is needed, and if out of memory. */
KIV_API kiv_cipher* KIV_CALL kiv_cipher_malloc(int mode, const void* key,
                                               int32_t key_length) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_cipher_free(kiv_cipher* cipher) KIV_NOEXCEPT;

/* Starts again with this mode and key, and discards the bytes held. Arguments with which no cipher
 * could be created change nothing. */
KIV_API int KIV_CALL kiv_cipher_reset(kiv_cipher* cipher, int mode, const void* key,
                                      int32_t key_length) KIV_NOEXCEPT;

/* Encrypts as much as fits the buffer. XTEA pads the last block with zeros, which the receiver
 * cannot tell from data: provide `length` rounded up to 8 as the capacity, of which whole blocks
 * are used. The buffer may be the one that holds the bytes. Bytes that do not fit are dropped and
 * the result is still 1: check `written`. */
KIV_API int KIV_CALL kiv_encipher(kiv_cipher* cipher, void* buffer, int32_t capacity,
                                  int32_t* written, const void* bytes, int32_t length) KIV_NOEXCEPT;

/* Appends received bytes: all of them, or none if more than 20496 would be held. */
KIV_API int KIV_CALL kiv_cipher_input(kiv_cipher* cipher, const void* bytes,
                                      int32_t length) KIV_NOEXCEPT;

/* Decrypts the bytes held, as far as the buffer has room, with XTEA in whole blocks; the rest is
 * kept. Returns 0 if nothing is held, or no whole block; otherwise 1, even if nothing fits: a loop
 * must also end when `written` is 0, as it is for XTEA with a capacity below 8. */
KIV_API int KIV_CALL kiv_cipher_get(kiv_cipher* cipher, void* buffer, int32_t capacity,
                                    int32_t* written) KIV_NOEXCEPT;

/* Derives a key from two strings, of which at most 64 bytes each are used: the first 16 hexadecimal
 * characters of the MD5 digest of both together. The rest of the buffer is filled with zeros; a
 * shorter buffer gets the first characters. */
KIV_API int KIV_CALL kiv_cipher_key(void* buffer, int32_t length, const char* first,
                                    const char* second) KIV_NOEXCEPT;

/* ---- Virtual connections over UDP: client ----------------------------------------------------
 *
 * A client and a server exchange datagrams of up to 10238 bytes within a connection: a handshake
 * binds the two by a random string of 64 characters, keep-alives show that the peer is alive, and
 * either side can close. Datagrams may still be lost, duplicated or reordered.
 *
 *   int on_connected(kiv_uvc* client, void* user) { return kiv_uvc_write(client, "hello", 5); }
 *   int on_data(kiv_uvc* client, void* user, char* data, int32_t length) { ... return 0; }
 *   int on_end(kiv_uvc* client, void* user) { return kiv_uvc_free(client); }
 *
 *   kiv_uvc* client = kiv_uvc_make();
 *   kiv_uvc_attach(box, client, "example.org", 9000, on_connected, NULL, on_end, NULL, on_data,
 *                  NULL, on_end, NULL);
 *   kiv_box_loop(box);
 *
 * On the wire a datagram is a type, a code (1 byte each) and a body:
 *
 *   10 connect request (code 2), 11 accept, 12 refuse (code 1: server full; 3: the address has a
 *   connection of another string), 13 confirm, 14 close: 64 characters, each sent five times
 *   15 data: the bytes; 16 keep-alive: nothing
 *
 * A connection is not protected: the client accepts data and keep-alives from any sender that hits
 * its port. If you need more, encrypt and number what you send.
 *
 * Common to client and server: every call checks the handle and may be made from any thread; it
 * returns 0 for a handle that is not alive. Callbacks run on the box's thread with no lock held, on
 * copies of their data: they may close, delete and free everything, and so may other threads
 * meanwhile; a callback that has started runs to its end. A NULL callback is not called, and the
 * result of a callback is ignored. While datagrams arrive without a pause, time-outs are delayed
 * until the flood ends; keep-alives are not. A socket of the box that has a higher id and is always
 * ready starves both. */

typedef struct kiv_uvc kiv_uvc;

/* Connected; could not connect; lost or closed by the peer. */
typedef int(KIV_CALL* kiv_uvc_fn)(kiv_uvc* client, void* argument);

/* Data arrived: `body` has at least one byte, and a NUL after its `length` bytes. */
typedef int(KIV_CALL* kiv_uvc_data_fn)(kiv_uvc* client, void* argument, char* body, int32_t length);

/* A whole datagram that does not belong to this connection; sender and port are "" and 0 for an
 * empty one. */
typedef int(KIV_CALL* kiv_uvc_foreign_fn)(kiv_uvc* client, void* argument, const char* sender_ip,
                                          uint16_t sender_port, char* datagram, int32_t length);

/* Creates a client. Returns NULL if out of memory. */
KIV_API kiv_uvc* KIV_CALL kiv_uvc_make(void) KIV_NOEXCEPT;

/* Sends the connect request to the first address of a host. A name is looked up first, before any
 * lock is acquired. Returns 1; returns 0 for an unknown host, for port 0 (if the client opens its
 * own socket, also for ports 1 and 2), or if the socket, the timer or the request fails. If a
 * thread other than the box's calls, callbacks may run before the return. Then
 *
 *   `on_connected`  is called if the server accepts, or
 *   `on_failed`     after a refusal, a close, or 4 s without an answer;
 *   `on_data`       for each data datagram that is not empty;
 *   `on_lost`       once, if the peer closes, or if neither data nor a keep-alive arrives during
 *                   one whole period of 10 s.
 *
 * After on_failed and on_lost, the socket and the timers no longer exist, and the client may be
 * attached again; attaching a client that is attached closes it first. Keep-alives are sent
 * automatically, in every period of 2 s without a write.
 *
 * The kivx_ form uses the given UDP socket instead of opening one (below 1: opens one). That socket
 * is made non-blocking; the box must not be waiting for it yet, and it is released, open, at the
 * end or on failure. */
KIV_API int KIV_CALL kivx_uvc_attach(kiv_box* box, kiv_uvc* client, int32_t socket,
                                     const char* host, uint16_t port, kiv_uvc_fn on_connected,
                                     void* connected_arg, kiv_uvc_fn on_failed, void* failed_arg,
                                     kiv_uvc_data_fn on_data, void* data_arg, kiv_uvc_fn on_lost,
                                     void* lost_arg, kiv_uvc_foreign_fn on_foreign,
                                     void* foreign_arg) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_uvc_attach(kiv_box* box, kiv_uvc* client, const char* host, uint16_t port,
                                    kiv_uvc_fn on_connected, void* connected_arg,
                                    kiv_uvc_fn on_failed, void* failed_arg, kiv_uvc_data_fn on_data,
                                    void* data_arg, kiv_uvc_fn on_lost,
                                    void* lost_arg) KIV_NOEXCEPT;

/* Sends the first 10238 of the bytes as one datagram, whether connected or not. Returns the length
 * of the datagram, including 2 bytes of header; -1 if the system rejects it or while there is no
 * socket; 0 for NULL or a negative length.
 *
 * A write replaces a keep-alive, but a server counts only keep-alives: a client that writes in
 * every period of 2 s sends none, and the server considers it lost. One whole period without a
 * write is needed in each 10 s; the periods are the client's own, so pause for about 4 s. */
KIV_API int32_t KIV_CALL kiv_uvc_write(kiv_uvc* client, const void* bytes,
                                       int32_t length) KIV_NOEXCEPT;

/* Notifies the peer if connected, and releases socket and timers, without a callback. Returns 1. */
KIV_API int KIV_CALL kiv_uvc_close(kiv_uvc* client) KIV_NOEXCEPT;

/* Closes and frees the client. Returns 1. */
KIV_API int KIV_CALL kiv_uvc_free(kiv_uvc* client) KIV_NOEXCEPT;

/* ---- Virtual connections over UDP: server ----------------------------------------------------
 *
 * Serves up to 10000 clients over one socket. A client is identified by its address and port, and
 * for the application by an id above 0.
 *
 *   int on_data(kiv_uvs* server, void* user, char* data, int32_t length) {
 *     return kiv_uvs_write(server, kiv_uvs_GetThisClientId(server), data, length);
 *   }
 *   int on_close(kiv_uvs* server, void* user) {
 *     return kiv_uvs_DeleteClient(server, kiv_uvs_GetThisClientId(server));
 *   }
 *   int on_connect(kiv_uvs* server, void* user, int32_t client, const char* ip, uint16_t port) {
 *     return kiv_uvs_AcceptClient(server, client, on_data, user, on_close, user);
 *   }
 *   kiv_uvs* server = kiv_uvs_make();
 *   kiv_uvs_attach(box, server, 9000, on_connect, NULL, NULL, NULL);
 *
 * A client exists until the application deletes it, even if it was never accepted. Senders can be
 * forged: requests from made-up addresses fill the 10000 places until they are deleted, and each is
 * answered with five datagrams; two servers may become each other's clients in this way. A flood of
 * garbage displaces fewer datagrams of clients if no `on_foreign` is set, since none has to be
 * delivered. */

typedef struct kiv_uvs kiv_uvs;

/* A new client asks to be accepted. */
typedef int(KIV_CALL* kiv_uvs_connect_fn)(kiv_uvs* server, void* argument, int32_t client,
                                          const char* client_ip, uint16_t client_port);

/* A datagram that does not belong to a connection; see kiv_uvc_foreign_fn. */
typedef int(KIV_CALL* kiv_uvs_foreign_fn)(kiv_uvs* server, void* argument, const char* sender_ip,
                                          uint16_t sender_port, char* datagram, int32_t length);

/* Data or the close of the client that kiv_uvs_GetThisClientId returns. `body` is as for
 * kiv_uvc_data_fn. */
typedef int(KIV_CALL* kiv_uvs_data_fn)(kiv_uvs* server, void* argument, char* body, int32_t length);
typedef int(KIV_CALL* kiv_uvs_close_fn)(kiv_uvs* server, void* argument);

/* Creates a server. Returns NULL if out of memory. */
KIV_API kiv_uvs* KIV_CALL kiv_uvs_make(void) KIV_NOEXCEPT;

/* Serves a local port on all addresses of this machine. Returns 1, or 0 if the port is taken or if
 * out of memory. Attaching a server that is attached first drops its clients, without notifying
 * them, and its socket. `spare` is stored and never used; `argument` is passed to both callbacks.
 *
 * The kivx_ form uses the given UDP socket, under the conditions of kivx_uvc_attach; below 1 it
 * opens one on a port that the system chooses. */
KIV_API int KIV_CALL kivx_uvs_attach(kiv_box* box, kiv_uvs* server, int32_t socket,
                                     kiv_uvs_connect_fn on_connect, void* spare,
                                     kiv_uvs_foreign_fn on_foreign, void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_uvs_attach(kiv_box* box, kiv_uvs* server, uint16_t port,
                                    kiv_uvs_connect_fn on_connect, void* spare,
                                    kiv_uvs_foreign_fn on_foreign, void* argument) KIV_NOEXCEPT;

/* Sets the callbacks of a client. Returns 1, or 0 for an unknown id.
 *
 * `on_close` is called whenever the client's close arrives, which is sent five times, and after
 * every period of 10 s without a keep-alive, until the client is deleted: delete it there. */
KIV_API int KIV_CALL kiv_uvs_AcceptClient(kiv_uvs* server, int32_t client, kiv_uvs_data_fn on_data,
                                          void* data_arg, kiv_uvs_close_fn on_close,
                                          void* close_arg) KIV_NOEXCEPT;

/* Sends to a client, like kiv_uvc_write. Returns 0 for an unknown id. */
KIV_API int32_t KIV_CALL kiv_uvs_write(kiv_uvs* server, int32_t client, const void* bytes,
                                       int32_t length) KIV_NOEXCEPT;

/* Removes a client, and notifies it if it is connected. Returns 1, or 0 for an unknown id. */
KIV_API int KIV_CALL kiv_uvs_DeleteClient(kiv_uvs* server, int32_t client) KIV_NOEXCEPT;

/* Returns the client of the callback that started last; -1 before the first. Call it in the
 * callback itself. */
KIV_API int32_t KIV_CALL kiv_uvs_GetThisClientId(kiv_uvs* server) KIV_NOEXCEPT;

/* Drops the clients, without notifying them, and the socket, and frees the server. Returns 1. */
KIV_API int KIV_CALL kiv_uvs_free(kiv_uvs* server) KIV_NOEXCEPT;

#endif
