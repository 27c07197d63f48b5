/* Messages on top of the loop: command packets and their framing, a keyword filter, the packet
 * cipher, and virtual connections over UDP.
 *
 * Records that hold a packet, a pool, a filter or a cipher are not locked: one thread uses each.
 * The virtual connections belong to a box and may be called from any thread.
 */
#ifndef KIV_BASE_PROTOCOL_H
#define KIV_BASE_PROTOCOL_H

#include "kiv_base/event.h"

/* ---- Command packets -------------------------------------------------------------------------
 *
 * A packet is one command and up to 64 named texts, ending in a zero byte:
 *
 *     login CRLF user="a""b" CRLF pass="x" CRLF NUL
 *
 * Command and names are 1 to 128 letters, digits or "_", the first no digit. A value stands in
 * double quotes, holds every byte but zero, at most 5120 of them, and doubles its double quotes.
 * Line feed, carriage return, ";", "&" and the space separate, in any number and mixture, also
 * around "=". A packet has at most 10240 bytes with its zero.
 *
 *     kiv_proto* packet = kiv_proto_new();
 *     kiv_proto_PackCmd(packet, "login");
 *     kiv_proto_PackPara(packet, "user", "ann");
 *     if (kiv_proto_GetPacket(packet, &text, &length)) send(text, length);
 *
 * A record holds one packet at a time and is used again for the next; its storage is allocated
 * once. Results are 1 or 0, and 0 for NULL arguments. What a function refuses for its text it
 * prints on standard output; a refused edit leaves the packet as it was. */
typedef struct kiv_proto kiv_proto;

/* Makes an empty record; NULL without memory. */
KIV_API kiv_proto* KIV_CALL kiv_proto_new(void) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_proto_free(kiv_proto* packet) KIV_NOEXCEPT;

/* A new record with the same packet, parameters and cursor; an empty one for a record without a
 * packet. NULL for NULL or without memory. */
KIV_API kiv_proto* KIV_CALL kiv_proto_clone(kiv_proto* packet) KIV_NOEXCEPT;

/* Reads a received packet, whose last byte must be zero, into the record. At most 63 parameters
 * are taken, though 64 can be packed. Zero bytes between items are skipped; the text that the
 * record keeps ends at the first one, and parameters behind it can be read but not edited. A packet
 * that is refused leaves the record empty. */
KIV_API int KIV_CALL kiv_proto_ParsePacket(kiv_proto* packet, const char* bytes,
                                           int32_t length) KIV_NOEXCEPT;

/* Would kiv_proto_ParsePacket take these bytes? The record is not used and may be NULL. */
KIV_API int KIV_CALL kiv_proto_CheckPacket(kiv_proto* packet, const char* bytes,
                                           int32_t length) KIV_NOEXCEPT;

/* Starts a new packet; what the record held is gone. */
KIV_API int KIV_CALL kiv_proto_PackCmd(kiv_proto* packet, const char* command) KIV_NOEXCEPT;

/* Appends a parameter. 0 also for a name that is there already. */
KIV_API int KIV_CALL kiv_proto_PackPara(kiv_proto* packet, const char* name,
                                        const char* value) KIV_NOEXCEPT;

/* Edits in place; 0 also when the item does not lie within the packet's text.
 * A modified value: the stored copy, which the getters give, is replaced only when its text in the
 * packet changes its length; it is then the escaped text, quotes doubled, and the value's length
 * stays what it was. The packet itself is right, and what parses it reads the new value.
 * A deleted parameter: those behind it move down, but lengths of names and values do not; count the
 * copies with strlen after an edit. */
KIV_API int KIV_CALL kiv_proto_ModifyCmd(kiv_proto* packet, const char* command) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_proto_ModifyPara(kiv_proto* packet, const char* name,
                                          const char* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_proto_DeletePara(kiv_proto* packet, const char* name) KIV_NOEXCEPT;

/* The text of the packet, owned by the record, and its length with the zero. Without a packet the
 * text is emptied and the length 0; the first form then gives 0, the second, which gives the text,
 * the empty text. NULL for a NULL record. */
KIV_API int KIV_CALL kiv_proto_GetPacket(kiv_proto* packet, const char** text,
                                         int32_t* length) KIV_NOEXCEPT;
KIV_API const char* KIV_CALL kivx_proto_GetPacket(kiv_proto* packet, const char** text,
                                                  int32_t* length) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kivx_proto_GetPacketLen(kiv_proto* packet) KIV_NOEXCEPT;

/* The command or the value of a parameter, exact in case. The kivx_ forms give a text that the
 * record owns, valid until its next change; the others copy what fits, with a zero, into `size`
 * bytes and give 0 for a size below 1. */
KIV_API int KIV_CALL kivx_proto_GetCmd(kiv_proto* packet, const char** command,
                                       int32_t* length) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_proto_GetCmd(kiv_proto* packet, char* buffer, int32_t size) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_proto_GetPara(kiv_proto* packet, const char* name, const char** value,
                                        int32_t* length) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_proto_GetPara(kiv_proto* packet, const char* name, char* buffer,
                                       int32_t size) KIV_NOEXCEPT;

/* The number of parameters; 0 for NULL. */
KIV_API int32_t KIV_CALL kiv_proto_NumPara(kiv_proto* packet) KIV_NOEXCEPT;

/* Walks the parameters in their order: First, then Next until 0; or Next alone after a rewind. Any
 * output may be NULL. */
KIV_API int KIV_CALL kiv_proto_rewind(kiv_proto* packet) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_proto_GetFirst(kiv_proto* packet, const char** name, int32_t* name_length,
                                         const char** value, int32_t* value_length) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_proto_GetNext(kiv_proto* packet, const char** name, int32_t* name_length,
                                        const char** value, int32_t* value_length) KIV_NOEXCEPT;

/* Copies the first parameter: both of them, always. Walk with the kivx_ pair. */
KIV_API int KIV_CALL kiv_proto_GetFirst(kiv_proto* packet, char* name, int32_t name_size,
                                        char* value, int32_t value_size) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_proto_GetNext(kiv_proto* packet, char* name, int32_t name_size,
                                       char* value, int32_t value_size) KIV_NOEXCEPT;

/* What all records of the process write after each item from now on: 0 line feed, 1 carriage return
 * and line feed (the default), 2 ";", 4 the space, 8 "&". Another
 * value changes nothing and gives 0. */
KIV_API int KIV_CALL kivx_proto_SetSpace(int32_t mode) KIV_NOEXCEPT;

/* One parameter of bytes, at most 3840 of them, sent as base64 under the name
 * "__custom_switch_data__". Get copies what fits; 0 for a capacity below 1 or no bytes. */
KIV_API int KIV_CALL kivx_proto_PackCustomData(kiv_proto* packet, const void* bytes,
                                               int32_t length) KIV_NOEXCEPT;
KIV_API int KIV_CALL kivx_proto_GetCustomData(kiv_proto* packet, void* buffer, int32_t capacity,
                                              int32_t* length) KIV_NOEXCEPT;

/* Prints the record on standard output. */
KIV_API int KIV_CALL kiv_proto_print(kiv_proto* packet) KIV_NOEXCEPT;

/* ---- Framing of a stream into packets --------------------------------------------------------
 *
 * Collects the bytes of a stream and hands out one zero-terminated packet at a time. It holds 20497
 * bytes and, once those are full, up to 100000 blocks of 10257 more, so drain it: whoever only
 * feeds it lets a peer fill a gigabyte. Prints nothing. */
typedef struct kiv_parse_pool kiv_parse_pool;

/* NULL without memory. */
KIV_API kiv_parse_pool* KIV_CALL kiv_parse_pool_malloc(void) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_parse_pool_free(kiv_parse_pool* pool) KIV_NOEXCEPT;

/* Takes all the bytes (1) or, without room or memory, none (0). */
KIV_API int KIV_CALL kiv_parse_pool_input(kiv_parse_pool* pool, const void* bytes,
                                          int32_t count) KIV_NOEXCEPT;

/* Copies the next packet with its zero and returns 1; 0 while none is complete. Runs of zero bytes
 * separate packets and are dropped. Dropped silently, too, is what is longer than 10240 bytes with
 * its zero, a packet that does not fit `capacity`, and everything held if 10240 bytes contain no
 * zero: what arrives of that packet afterwards is returned as a packet of its own, so check what
 * this returns and not the stream. `length` may be NULL and is 0 if there is no packet. */
KIV_API int KIV_CALL kiv_parse_pool_get(kiv_parse_pool* pool, void* buffer, int32_t capacity,
                                        int32_t* length) KIV_NOEXCEPT;

/* The number of bytes held, and of bytes that there is room for. */
KIV_API int32_t KIV_CALL kiv_parse_pool_GetLen(kiv_parse_pool* pool) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_parse_pool_GetAvailableLen(kiv_parse_pool* pool) KIV_NOEXCEPT;

/* ---- Keyword filter --------------------------------------------------------------------------
 *
 * Reports whether a text contains one of a set of keywords, in exact case. Space, CR, LF and these
 * 31 marks are removed from keywords and texts first, so that "b.a d" contains "bad":
 *
 *     - = _ / | * & ~ + , . ; " ' : @ [ ] { } % ^ $ ! ( ) \ < > ? `
 *
 * All other bytes are compared: letters, digits, "#", bytes above 127, and also tab and the other
 * control characters: a tab between "b" and "ad" hides the keyword. */
typedef struct kiv_filter kiv_filter;

/* Makes a filter without keywords; NULL without memory. */
KIV_API kiv_filter* KIV_CALL kiv_filter_malloc(void) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_filter_free(kiv_filter* filter) KIV_NOEXCEPT;

/* Adds a keyword, of which the first 64 characters are looked at, with a text (its first 100) and a
 * number (0 in the short form) that a hit hands back. 1, or 0 without memory. A keyword that is
 * NULL or has nothing to compare is kept and never hits. */
KIV_API int KIV_CALL kivx_filter_insert(kiv_filter* filter, const char* keyword, const char* text,
                                        int32_t tag) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_filter_insert(kiv_filter* filter, const char* keyword,
                                       const char* text) KIV_NOEXCEPT;

/* Do the first 10240 characters of the text contain a keyword? 1 or 0. Of several, the one inserted
 * first is reported: its compared characters, text and number, owned by the filter. Any output may
 * be NULL; none is written without a hit. */
KIV_API int KIV_CALL kivx_filter_IsHit(kiv_filter* filter, const char* text, const char** keyword,
                                       const char** keyword_text, int32_t* tag) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_filter_IsHit(kiv_filter* filter, const char* text) KIV_NOEXCEPT;

/* ---- Packet cipher ---------------------------------------------------------------------------
 *
 * Protects the bytes of a connection lightly: each block is enciphered for itself and nothing tells
 * forged bytes from true ones. Enciphering is one call on a buffer; deciphering takes the bytes as
 * they arrive and hands out what is whole.
 *
 *     kiv_cipher_key(key, 16, "secret", "session");
 *     kiv_cipher* cipher = kiv_cipher_malloc(KIV_CIPHER_XTEA, key, 16);
 *     kiv_encipher(cipher, buffer, sizeof buffer, &written, "hello", 5);    gives 8 bytes
 *
 *     if (kiv_cipher_input(cipher, received, count)) {
 *       while (kiv_cipher_get(cipher, buffer, sizeof buffer, &written) && written > 0) {
 *         use(buffer, written);
 *       }
 *     }
 *
 * Results are 1 or 0, and 0 for NULL or a negative length. Counts of bytes written may be asked for
 * with NULL, and are 0 beside a result of 0. Prints nothing. */
typedef struct kiv_cipher kiv_cipher;

enum {
  KIV_CIPHER_NONE = 1,     /* bytes as they are */
  KIV_CIPHER_ROTATION = 2, /* each byte turned left by two bits; no key */
  KIV_CIPHER_XTEA = 3      /* XTEA in blocks of 8 bytes, words of blocks and key little-endian */
};

/* The key's first 16 bytes are used, and a shorter one is filled with zeros; NULL when key_length
 * is 0. NULL for another mode, for no key where there should be one, and without memory. */
KIV_API kiv_cipher* KIV_CALL kiv_cipher_malloc(int mode, const void* key,
                                               int32_t key_length) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_cipher_free(kiv_cipher* cipher) KIV_NOEXCEPT;

/* Begins again with this mode and key, and drops what is held. Arguments that would not make a
 * cipher change nothing. */
KIV_API int KIV_CALL kiv_cipher_reset(kiv_cipher* cipher, int mode, const void* key,
                                      int32_t key_length) KIV_NOEXCEPT;

/* Enciphers as much as fits the buffer. XTEA fills the last block with zeros, which the reader
 * cannot tell from text: have `length` rounded up to 8 as capacity, of which it uses whole blocks.
 * The buffer may be the one that the bytes are in. What does not fit is left out and the result is
 * still 1: look at `written`. */
KIV_API int KIV_CALL kiv_encipher(kiv_cipher* cipher, void* buffer, int32_t capacity,
                                  int32_t* written, const void* bytes, int32_t length) KIV_NOEXCEPT;

/* Appends received bytes: all of them, or none when more than 20496 would be held. */
KIV_API int KIV_CALL kiv_cipher_input(kiv_cipher* cipher, const void* bytes,
                                      int32_t length) KIV_NOEXCEPT;

/* Deciphers what is held as far as the buffer has room, with XTEA in whole blocks; the rest stays.
 * 0 if nothing is held, or no whole block; otherwise 1, even if nothing fits: a loop must also end
 * when `written` is 0, as it is for XTEA with a capacity below 8. */
KIV_API int KIV_CALL kiv_cipher_get(kiv_cipher* cipher, void* buffer, int32_t capacity,
                                    int32_t* written) KIV_NOEXCEPT;

/* Makes a key of two texts, of which at most 64 bytes each are used: the first 16 hexadecimal
 * characters of the MD5 digest of both together. The buffer's other bytes become zero; a shorter
 * one gets the front. */
KIV_API int KIV_CALL kiv_cipher_key(void* buffer, int32_t length, const char* first,
                                    const char* second) KIV_NOEXCEPT;

/* ---- Virtual connections over UDP: client ----------------------------------------------------
 *
 * One client and one server exchange datagrams of up to 10238 bytes within a connection: a
 * handshake binds the two by a random text of 64 characters, keep-alives show that the peer lives,
 * and either side can close. Datagrams may still get lost, come twice or in another order.
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
 *   connection of another text), 13 confirm, 14 close: 64 characters, each sent five times
 *   15 data: the bytes; 16 keep-alive: nothing
 *
 * A connection is not protected: the client takes data and keep-alives from any sender who hits its
 * port. If you need more, encrypt and number what you send.
 *
 * What client and server share: every call checks the handle, from any thread, and gives 0 for one
 * that is not live. Callbacks run on the box's thread with no lock held, on copies of their data:
 * they may close, delete and free everything, and so may other threads meanwhile; one that has
 * begun runs to its end. A NULL callback is left out, and what a callback returns is ignored. While
 * datagrams pour in without a pause, time-outs wait for the end of the flood; keep-alives do not.
 * A socket of the box that is higher and always ready holds up both.
 */

typedef struct kiv_uvc kiv_uvc;

/* Connected; could not connect; lost or closed by the peer. */
typedef int(KIV_CALL* kiv_uvc_fn)(kiv_uvc* client, void* argument);

/* `body` has at least one byte, and a NUL behind its `length` bytes. */
typedef int(KIV_CALL* kiv_uvc_data_fn)(kiv_uvc* client, void* argument, char* body, int32_t length);

/* A datagram that is none of this connection, whole; sender and port are "" and 0 for an empty
 * one. */
typedef int(KIV_CALL* kiv_uvc_foreign_fn)(kiv_uvc* client, void* argument, const char* sender_ip,
                                          uint16_t sender_port, char* datagram, int32_t length);

/* Makes a client; NULL without memory. */
KIV_API kiv_uvc* KIV_CALL kiv_uvc_make(void) KIV_NOEXCEPT;

/* Sends the connect request to the first address of a host (a name is looked up here, before any
 * lock) and returns 1; 0 for an unknown host, port 0 (with a socket of its own also 1 and 2), or
 * when socket, timer or request fail. From another thread than the box's, callbacks may come
 * before the return. Then
 *
 *   `on_connected`  when the server accepts, or
 *   `on_failed`     after a refusal, a close, or 4 s without an answer;
 *   `on_data`       for each data datagram that is not empty;
 *   `on_lost`       once, when the peer closes, or when neither data nor a keep-alive has come for
 *                   one whole period of 10 s.
 *
 * Socket and timers are gone after on_failed and on_lost, and the client may be attached again; one
 * that is attached is closed first. Keep-alives go out by themselves, in every period of 2 s
 * without a write.
 *
 * The kivx_ form takes a UDP socket in place of one of its own (below 1): it becomes non-blocking,
 * must not be waited for in the box yet, and is let go of, open, at the end or on failure. */
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

/* Sends the first 10238 of the bytes as one datagram, connected or not. The length of the datagram,
 * 2 bytes of header included; -1 when the system refuses and while there is no socket; 0 for NULL
 * or a negative length.
 *
 * Writing takes the place of keep-alives, but a server counts keep-alives alone: a client that
 * writes in every period of 2 s sends none and is lost to the server. One whole period without a
 * write in each 10 s is needed; the periods are the client's own, so pause for about 4 s. */
KIV_API int32_t KIV_CALL kiv_uvc_write(kiv_uvc* client, const void* bytes,
                                       int32_t length) KIV_NOEXCEPT;

/* Tells the peer when connected, and lets go of socket and timers, without a callback: 1. */
KIV_API int KIV_CALL kiv_uvc_close(kiv_uvc* client) KIV_NOEXCEPT;

/* Closes and frees: 1. */
KIV_API int KIV_CALL kiv_uvc_free(kiv_uvc* client) KIV_NOEXCEPT;

/* ---- Virtual connections over UDP: server ----------------------------------------------------
 *
 * Serves up to 10000 clients over one socket. A client is known by its address and port, and to the
 * application by an id above 0.
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
 * A client stays until the application deletes it, also one that it never accepted. Senders can be
 * forged: requests under made-up addresses fill the 10000 places until they are deleted, and each
 * is answered with five datagrams; two servers may so become each other's clients. A flood of
 * garbage crowds out fewer datagrams of clients where no `on_foreign` asks to be told of each. */

typedef struct kiv_uvs kiv_uvs;

/* A new client. */
typedef int(KIV_CALL* kiv_uvs_connect_fn)(kiv_uvs* server, void* argument, int32_t client,
                                          const char* client_ip, uint16_t client_port);

/* A datagram that is none of a connection; as kiv_uvc_foreign_fn. */
typedef int(KIV_CALL* kiv_uvs_foreign_fn)(kiv_uvs* server, void* argument, const char* sender_ip,
                                          uint16_t sender_port, char* datagram, int32_t length);

/* Of the client of kiv_uvs_GetThisClientId. `body` as for kiv_uvc_data_fn. */
typedef int(KIV_CALL* kiv_uvs_data_fn)(kiv_uvs* server, void* argument, char* body, int32_t length);
typedef int(KIV_CALL* kiv_uvs_close_fn)(kiv_uvs* server, void* argument);

/* Makes a server; NULL without memory. */
KIV_API kiv_uvs* KIV_CALL kiv_uvs_make(void) KIV_NOEXCEPT;

/* Serves a local port on all addresses of this machine: 1, or 0 when it is taken or memory runs
 * out. A server that is attached drops its clients, untold, and its socket first. `spare` is kept
 * and never looked at; `argument` goes to both callbacks.
 *
 * The kivx_ form takes a UDP socket, on the terms of kivx_uvc_attach; below 1 it opens one on a
 * port of the system's choice. */
KIV_API int KIV_CALL kivx_uvs_attach(kiv_box* box, kiv_uvs* server, int32_t socket,
                                     kiv_uvs_connect_fn on_connect, void* spare,
                                     kiv_uvs_foreign_fn on_foreign, void* argument) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_uvs_attach(kiv_box* box, kiv_uvs* server, uint16_t port,
                                    kiv_uvs_connect_fn on_connect, void* spare,
                                    kiv_uvs_foreign_fn on_foreign, void* argument) KIV_NOEXCEPT;

/* Sets what a client calls back: 1, or 0 for an unknown id.
 *
 * `on_close` comes whenever the client's close arrives, which is sent five times, and after every
 * period of 10 s without a keep-alive, until the client is deleted: delete it there. */
KIV_API int KIV_CALL kiv_uvs_AcceptClient(kiv_uvs* server, int32_t client, kiv_uvs_data_fn on_data,
                                          void* data_arg, kiv_uvs_close_fn on_close,
                                          void* close_arg) KIV_NOEXCEPT;

/* Sends to a client as kiv_uvc_write does; 0 for an unknown id. */
KIV_API int32_t KIV_CALL kiv_uvs_write(kiv_uvs* server, int32_t client, const void* bytes,
                                       int32_t length) KIV_NOEXCEPT;

/* Forgets a client, and tells it when it is connected: 1, or 0 for an unknown id. */
KIV_API int KIV_CALL kiv_uvs_DeleteClient(kiv_uvs* server, int32_t client) KIV_NOEXCEPT;

/* The client that the last callback began for, -1 before the first. Ask in the callback itself. */
KIV_API int32_t KIV_CALL kiv_uvs_GetThisClientId(kiv_uvs* server) KIV_NOEXCEPT;

/* Drops the clients, untold, and the socket, and frees the server: 1. */
KIV_API int KIV_CALL kiv_uvs_free(kiv_uvs* server) KIV_NOEXCEPT;

#endif
