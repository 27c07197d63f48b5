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

/* Copies the next packet with its zero and gives 1; 0 while none is whole. Runs of zero bytes
 * separate packets and are dropped. Dropped silently, too, is what is longer than 10240 bytes with
 * its zero, a packet that does not fit `capacity`, and everything gathered when 10240 bytes hold no
 * zero. `length` may be NULL and is 0 when there is no packet. */
KIV_API int KIV_CALL kiv_parse_pool_get(kiv_parse_pool* pool, void* buffer, int32_t capacity,
                                        int32_t* length) KIV_NOEXCEPT;

/* The number of bytes held, and of bytes that there is room for. */
KIV_API int32_t KIV_CALL kiv_parse_pool_GetLen(kiv_parse_pool* pool) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_parse_pool_GetAvailableLen(kiv_parse_pool* pool) KIV_NOEXCEPT;

/* ---- Keyword filter --------------------------------------------------------------------------
 *
 * Tells whether a text contains one of a set of keywords. Keywords and texts are compared by their
 * letters, digits, "#" and bytes above 127, in exact case: blanks, line ends and other marks are
 * left out, so that "b.a d" contains "bad". */
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

/* ---- Packet cipher ---- */

/* ---- Virtual connections over UDP: client ---- */

/* ---- Virtual connections over UDP: server ---- */

#endif
