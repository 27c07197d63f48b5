/* HTTP: URIs, a table model of message heads, stream filters that cut a connection's bytes into
 * messages, a client and a server over a box, a tunnel through a proxy, the text encodings they
 * share, and forms.
 *
 * Smallest use, a server that answers every request:
 *
 *   static void KIV_CALL on_request(kiv_http_server* server, void* box, int32_t socket,
 *                                   kiv_http_table* request, zu_jitter* body) {
 *     kiv_box_TcpWrite(box, socket, answer, answer_length);
 *   }
 *   static void KIV_CALL on_close(kiv_http_server* server, void* user, int32_t socket) {
 *     kiv_http_server_DeleteClient(server, socket);
 *   }
 *   static void KIV_CALL on_accept(kiv_http_server* server, void* box, int32_t socket,
 *                                  const char* peer_ip, uint16_t peer_port) {
 *     kiv_http_server_AcceptClient(server, socket, on_request, box, on_close, NULL);
 *   }
 *   kiv_http_server_attach(box, kiv_http_server_make(), 8080, on_accept, box);
 *
 * Threads: a URI, a table, a filter or a form belongs to one thread at a time. Operations of a
 * client's request, a server or a tunnel may be called from any thread. The encodings hold no
 * state.
 */
#ifndef KIV_BASE_HTTP_H
#define KIV_BASE_HTTP_H

#include "kiv_base/containers.h"
#include "kiv_base/event.h"
#include "kiv_base/export.h"

typedef struct kiv_http_table kiv_http_table;
typedef struct kiv_http_filter kiv_http_filter;
typedef struct kiv_http_request kiv_http_request;
typedef struct kiv_http_server kiv_http_server;
typedef struct kiv_proxy_http kiv_proxy_http;
typedef struct zu_cgi zu_cgi;

/* ---- URIs ------------------------------------------------------------------------------------
 *
 * A URI reference of RFC 2396, taken apart into a record and put together again. The grammar is
 * relaxed: a back-slash in the text is a slash, blanks around it are skipped (blanks alone, no
 * tabs), and so are slashes that follow the "//" before a server.
 *
 * What follows from that, and from the grammar:
 * - The host of "file:///etc/x" is "etc": a printed file URI does not read back as it was.
 * - The server ends at the end, at "/", "?" or a blank. What is no server up to there is an
 *   authority and leaves no host, such as "http://h#f" and "http://my_host/".
 * - A host is labels of letters, digits and inner "-", the last label beginning with a letter, or
 *   one to four numbers with dots between them. An IPv6 literal in brackets is accepted and
 *   dropped: there is no host then, and no path unless the text has one. "http://[::1]/a" prints as
 *   "http:///a", whose host is "a".
 * - The path of "http://h/.." is empty, not "/", so "http://h/..#f" prints as "http://h#f".
 * - An escaped zero byte ("%00") ends the decoded text it is in.
 *
 * Texts handed out as new are freed with _zu_free.
 */

/* Bits of kiv_uri.flags. */
enum {
  KIV_URI_UNWISE = 1, /* "{}|\^[]`" may stand in opaque part, query and fragment; never set here */
  KIV_URI_RAW = 2     /* no escapes were decoded */
};

/* The texts are separate blocks of _zu_malloc, NULL where the URI has no such part. "Decoded" is
 * with "%41" read as "A", unless the record is raw. */
typedef struct kiv_uri {
  char* scheme;         /* as written */
  char* opaque;         /* what follows a scheme without "/", decoded */
  char* authority;      /* of a URI with an authority that is no server, as written */
  char* host;           /* name or dotted IPv4 address */
  char* user;           /* what stands before "@", decoded */
  int32_t port;         /* as written, at most INT32_MAX; else the scheme's default; else 0 */
  char port_string[12]; /* the same in decimal */
  char* path;           /* decoded, then normalised; "/" where a host has none */
  char* path_raw;       /* `path` escaped for a request line; NULL also when memory ran out */
  char* query;          /* decoded */
  char* fragment;       /* decoded */
  int32_t flags;
  char* query_raw; /* as written */
} kiv_uri;

/* A new record for kiv_uri_free; NULL when the text is no URI reference and when memory runs out.
 * The empty text is one, without any part. With `raw` not 0 the record is raw: nothing is decoded,
 * and path_raw escapes each "%" of the path again. */
KIV_API kiv_uri* KIV_CALL kiv_uri_malloc(const char* text) KIV_NOEXCEPT;
KIV_API kiv_uri* KIV_CALL kiv_uri_mallocx(const char* text, int raw) KIV_NOEXCEPT;

/* Frees the texts and zeroes the fields but for `flags`; free also releases the record. */
KIV_API void KIV_CALL kiv_uri_cleanall(kiv_uri* uri) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_uri_free(kiv_uri* uri) KIV_NOEXCEPT;

/* A copy of the record and all its texts, or NULL. */
KIV_API kiv_uri* KIV_CALL kiv_uri_clone(const kiv_uri* uri) KIV_NOEXCEPT;

/* Writes the whole URI and each part to standard output, a line each. */
KIV_API void KIV_CALL kiv_uri_print(const kiv_uri* uri) KIV_NOEXCEPT;

/* The URI as a new text, decoded parts escaped again. The port is left out when it is the scheme's
 * default; a scheme without server is followed by "//", so "file:/x" becomes "file:///x". */
KIV_API char* KIV_CALL kiv_uri_GetURIString(const kiv_uri* uri) KIV_NOEXCEPT;

/* The target of a request line as a new text: path_raw, and "?" and query_raw where there is a
 * query. Without a path it may be empty. */
KIV_API char* KIV_CALL kiv_uri_GetURIRequest(const kiv_uri* uri) KIV_NOEXCEPT;

/* The fields, which stay the record's own. The port is cut to 16 bits: 99999 reads as 34463. */
KIV_API const char* KIV_CALL kiv_uri_GetScheme(const kiv_uri* uri) KIV_NOEXCEPT;
KIV_API const char* KIV_CALL kiv_uri_GetHost(const kiv_uri* uri) KIV_NOEXCEPT;
KIV_API const char* KIV_CALL kiv_uri_GetUser(const kiv_uri* uri) KIV_NOEXCEPT;
KIV_API const char* KIV_CALL kiv_uri_GetPath(const kiv_uri* uri) KIV_NOEXCEPT;
KIV_API const char* KIV_CALL kiv_uri_GetPathRaw(const kiv_uri* uri) KIV_NOEXCEPT;
KIV_API const char* KIV_CALL kiv_uri_GetQuery(const kiv_uri* uri) KIV_NOEXCEPT;
KIV_API const char* KIV_CALL kiv_uri_GetQueryRaw(const kiv_uri* uri) KIV_NOEXCEPT;
KIV_API const char* KIV_CALL kiv_uri_GetFragment(const kiv_uri* uri) KIV_NOEXCEPT;
KIV_API uint16_t KIV_CALL kiv_uri_GetPort(const kiv_uri* uri) KIV_NOEXCEPT;
KIV_API const char* KIV_CALL kiv_uri_GetPortString(const kiv_uri* uri) KIV_NOEXCEPT;

/* The reference resolved against the base (RFC 2396, section 5.2) as a new text. A reference with
 * a scheme is returned as it is; without a usable base it is printed alone; an empty one gives the
 * base. A reference of query or fragment alone keeps the base's path, one of a fragment alone its
 * query too. NULL when the reference is no URI reference. With a base without a host, such as one
 * with an IPv6 literal, the result can name another host: "/h/x" yields "http:///h/x", the host "h".
 * Look at the host before connecting. */
KIV_API char* KIV_CALL kiv_uri_BuildURI(const char* reference, const char* base) KIV_NOEXCEPT;

/* The way from the base's path to the URI's as a new text; query and fragment are dropped. It is
 * empty for equal paths, and for the folder of the base. The URI unchanged where a path cannot lead
 * there: other scheme, host or port, or an opaque part. Case counts. NULL when either text is no
 * URI reference. */
KIV_API char* KIV_CALL kiv_uri_BuildRelativeURI(const char* text, const char* base) KIV_NOEXCEPT;

/* Normalises a path in place: runs of slashes but for the leading ones become one, "." goes, and
 * so does ".." with the segment before it. Of a path that begins with one slash, ".." at the top
 * goes too ("/.." becomes empty); a relative path keeps it. 0, or -1 for NULL. */
KIV_API int KIV_CALL kiv_uri_NormalizeURIPath(char* path) KIV_NOEXCEPT;

/* A new text for a path or URI. What parses is returned as it is, "c:\dir" among it; a text with
 * "scheme://" is escaped if it then parses; "c:\my dir" becomes "file:///c%3A/my%20dir"; any other
 * path gets slashes for back-slashes. */
KIV_API char* KIV_CALL kiv_uri_CanonicPath(const char* path) KIV_NOEXCEPT;

/* A new text for a path or URI. What parses is returned as it is, all else is the canonic path
 * escaped as a path. That also escapes the "file:" and the "%" of a drive path: pass those to
 * kiv_uri_CanonicPath alone. */
KIV_API char* KIV_CALL kiv_uri_PathToURI(const char* path) KIV_NOEXCEPT;

/* ---- Tables ----------------------------------------------------------------------------------
 *
 * A table holds one message head: method, request target and version of a request, or version and
 * status line of a response; the header fields in order; and the form fields of a form post. A
 * table with a method is a request. Field names are matched without regard to ASCII case, form
 * names exactly; several entries may carry one name when parsed.
 *
 * All functions accept NULL for any argument and then return 0 or NULL. Actions return 1 when
 * done, 0 for bad arguments, an unknown name or exhausted memory; the table is then unchanged.
 * Texts handed in are copied. Texts read from a table stay the table's own and are valid until
 * that item is set, unset or freed.
 *
 * Nothing is checked or quoted when a table is written: a CR LF inside a method, target, status
 * line, field or form name goes out as it is. Keep peers' texts out of them or check them first.
 */

/* The standard status lines in ascending order, the text for kiv_http_table_SetStatus; the last
 * entry is NULL. The "unused" ones are placeholders. */
static const char* const kiv_http_status_lines[] = {
    "100 Continue",
    "101 Switching Protocols",
    "102 Processing",
    "200 OK",
    "201 Created",
    "202 Accepted",
    "203 Non-Authoritative Information",
    "204 No Content",
    "205 Reset Content",
    "206 Partial Content",
    "207 Multi-Status",
    "300 Multiple Choices",
    "301 Moved Permanently",
    "302 Found",
    "303 See Other",
    "304 Not Modified",
    "305 Use Proxy",
    "306 unused",
    "307 Temporary Redirect",
    "400 Bad Request",
    "401 Authorization Required",
    "402 Payment Required",
    "403 Forbidden",
    "404 Not Found",
    "405 Method Not Allowed",
    "406 Not Acceptable",
    "407 Proxy Authentication Required",
    "408 Request Time-out",
    "409 Conflict",
    "410 Gone",
    "411 Length Required",
    "412 Precondition Failed",
    "413 Request Entity Too Large",
    "414 Request-URI Too Large",
    "415 Unsupported Media Type",
    "416 Requested Range Not Satisfiable",
    "417 Expectation Failed",
    "418 unused",
    "419 unused",
    "420 unused",
    "421 unused",
    "422 Unprocessable Entity",
    "423 Locked",
    "424 Failed Dependency",
    "425 No code",
    "426 Upgrade Required",
    "500 Internal Server Error",
    "501 Method Not Implemented",
    "502 Bad Gateway",
    "503 Service Temporarily Unavailable",
    "504 Gateway Time-out",
    "505 HTTP Version Not Supported",
    "506 Variant Also Negotiates",
    "507 Insufficient Storage",
    "508 unused",
    "509 unused",
    "510 Not Extended",
    NULL,
};

/* An empty table with status value -1, or NULL. */
KIV_API kiv_http_table* KIV_CALL kiv_http_table_make(void) KIV_NOEXCEPT;

/* Empties the table (status value -1); free also releases it. */
KIV_API void KIV_CALL kiv_http_table_free(kiv_http_table* table) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_http_table_clean(kiv_http_table* table) KIV_NOEXCEPT;

/* A new table with the method, request target, status line, header fields and form fields of
 * another, equal names included; its cursors stand at the start. The version is not copied. The
 * form values are escaped afresh from their raw texts. NULL when memory runs out. */
KIV_API kiv_http_table* KIV_CALL kiv_http_table_clone(const kiv_http_table* table) KIV_NOEXCEPT;

/* The method, such as "GET"; NULL while not set. */
KIV_API const char* KIV_CALL kiv_http_table_GetMethod(const kiv_http_table* table) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_SetMethod(kiv_http_table* table,
                                              const char* method) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_UnsetMethod(kiv_http_table* table) KIV_NOEXCEPT;

/* The request target (path and query); NULL while not set. */
KIV_API const char* KIV_CALL kiv_http_table_GetRequest(const kiv_http_table* table) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_SetRequest(kiv_http_table* table,
                                               const char* request) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_UnsetRequest(kiv_http_table* table) KIV_NOEXCEPT;

/* The status line without the version, such as "404 Not Found". Setting it sets the status value
 * to the leading decimal number of the text, 0 when there is none. Unset leaves the status value
 * at 0, not at the -1 of a new table. GetStatusValue gives -1 for NULL. */
KIV_API const char* KIV_CALL kiv_http_table_GetStatus(const kiv_http_table* table) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_SetStatus(kiv_http_table* table,
                                              const char* status_line) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_http_table_GetStatusValue(const kiv_http_table* table) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_UnsetStatus(kiv_http_table* table) KIV_NOEXCEPT;

/* Header fields by name: the first entry of that name is meant. Set replaces its value and takes
 * over the caller's spelling of the name, or adds a field at the end. Zero removes all. */
KIV_API const char* KIV_CALL kiv_http_table_GetField(const kiv_http_table* table,
                                                     const char* name) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_SetField(kiv_http_table* table, const char* name,
                                             const char* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_UnsetField(kiv_http_table* table,
                                               const char* name) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_ZeroField(kiv_http_table* table) KIV_NOEXCEPT;

/* Walks the header fields in order: Rewind, then GetNext until it returns 0. The cursor counts
 * entries, so removing one that was already passed makes the walk miss the next. The outputs may
 * be NULL and are left alone at the end. */
KIV_API int KIV_CALL kiv_http_table_RewindField(kiv_http_table* table) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_GetNextField(kiv_http_table* table, const char** name,
                                                 const char** value) KIV_NOEXCEPT;

/* Form fields by name: GetForm gives the escaped value, GetFormRaw the raw one; SetForm takes the
 * raw value and escapes it (zu_url_escape_malloc), the name is written as it is.
 *
 * Replacing the value of an existing name adjusts the form length by (new escaped length - new raw
 * length) and not by the old value's length: unless both come to the same,
 * kiv_http_table_GetFormStr then refuses. To change a value, unset it first. */
KIV_API const char* KIV_CALL kiv_http_table_GetForm(const kiv_http_table* table,
                                                    const char* name) KIV_NOEXCEPT;
KIV_API const char* KIV_CALL kiv_http_table_GetFormRaw(const kiv_http_table* table,
                                                       const char* name) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_SetForm(kiv_http_table* table, const char* name,
                                            const char* raw_value) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_UnsetForm(kiv_http_table* table, const char* name) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_ZeroForm(kiv_http_table* table) KIV_NOEXCEPT;

/* Walks the form fields as kiv_http_table_GetNextField does the header fields. */
KIV_API int KIV_CALL kiv_http_table_RewindForm(kiv_http_table* table) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_GetNextForm(kiv_http_table* table, const char** name,
                                                const char** escaped_value,
                                                const char** raw_value) KIV_NOEXCEPT;

/* The head as text, up to and including its blank line; the caller frees it with _zu_free.
 *
 * NULL for a table without header fields, and, with a message, for one with neither method nor
 * status line. A missing version is stored as "HTTP/1.1". For a POST with form fields the fields
 * Content-Type and Content-Length of the form are set first. A request without a target is
 * written as method, blank, version. */
KIV_API char* KIV_CALL kiv_http_table_GetHeaderStr(kiv_http_table* table) KIV_NOEXCEPT;

/* The form as text, name=escaped value joined by "&"; the caller frees it with _zu_free. NULL
 * without form fields, and, with a message, when the text is not as long as
 * kiv_http_table_GetFormStrLen says. */
KIV_API char* KIV_CALL kiv_http_table_GetFormStr(kiv_http_table* table) KIV_NOEXCEPT;

/* Length of the form text in bytes, as counted by the setters; 0 without form fields. */
KIV_API int32_t KIV_CALL kiv_http_table_GetFormStrLen(const kiv_http_table* table) KIV_NOEXCEPT;

/* A new table from the text of a head whose lines end in CR, LF or both; leading blanks and line
 * ends are skipped, blank lines between fields too. Spaces before a colon are skipped, equal names
 * are kept in order, and folded lines are refused. Only versions 1.0 and 1.1 are taken. Bad heads,
 * among them one with an empty field value or without a line end after its last field, print what
 * is wrong with the whole text and give NULL. */
KIV_API kiv_http_table* KIV_CALL kiv_http_table_ParseHeaderStr(const char* text) KIV_NOEXCEPT;

/* A new table with the form fields of an urlencoded text. NULL, with a message, for a name that is
 * empty, has other characters than letters, digits, "-", "." and "_", or is not followed by "=". */
KIV_API kiv_http_table* KIV_CALL kiv_http_table_ParseFormStr(const char* text) KIV_NOEXCEPT;

/* ---- Stream filters --------------------------------------------------------------------------
 *
 * A filter cuts the bytes of one connection into messages, whatever the pieces they arrive in. A
 * request filter takes bodies by Content-Length; a response filter also takes chunked bodies and,
 * for a 200 response with "Connection: close", the rest of the connection. Trailer fields after
 * the last chunk are not supported.
 *
 * Any other message ends with its head, whatever its status: a request with a chunked body, or a
 * 404 without a length. A head that states a length is waited for, also that of a 304 or of the
 * answer to a HEAD. The first Content-Length counts, read as a number with a sign and up to its
 * first other character ("+3" and "3x" are 3), and it wins over a chunked coding. A head ends with
 * CR LF CR LF alone, or at a zero byte that begins a line; what stands behind the zero byte, up to
 * the blank line, is dropped.
 *
 * Limits: 5120 bytes for a head, 1024 for a chunk-size line, INT32_MAX for one Content-Length or
 * chunk size, and what a jitter buffer holds (1.6 GB) for body bytes not yet taken out. The number
 * of waiting messages has no limit: take them out.
 */

/* States of a message, and the status values handed out. */
enum {
  KIV_HTTP_NEW = 0,
  KIV_HTTP_HEAD = 11, /* head incomplete */
  KIV_HTTP_BODY = 12, /* body incomplete */
  KIV_HTTP_COMPLETE = 13,
  KIV_HTTP_CHUNKED = 14,     /* chunked body incomplete; handed out as 12 */
  KIV_HTTP_UNTIL_CLOSE = 15, /* the body lasts until the connection closes */
  KIV_HTTP_BROKEN = 21       /* bad stream, final; handed out as 0 */
};

/* An empty filter, or NULL. Both makers make the same. */
KIV_API kiv_http_filter* KIV_CALL kiv_http_filter_request_make(void) KIV_NOEXCEPT;
KIV_API kiv_http_filter* KIV_CALL kiv_http_filter_response_make(void) KIV_NOEXCEPT;

/* Frees the filter and all messages still in it. */
KIV_API void KIV_CALL kiv_http_filter_request_free(kiv_http_filter* filter) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_http_filter_response_free(kiv_http_filter* filter) KIV_NOEXCEPT;

/* Feeds the next n bytes of the stream. 1 when all were taken; 0 when the stream is broken (bad
 * head or chunk line, a limit, no memory) and for every later input. Messages completed before the
 * fault can still be taken out. A request filter also refuses responses. */
KIV_API int KIV_CALL kiv_http_filter_request_input(kiv_http_filter* filter, const void* bytes,
                                                   int32_t n) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_filter_response_input(kiv_http_filter* filter, const void* bytes,
                                                    int32_t n) KIV_NOEXCEPT;

/* Takes out the oldest message: its table (free with kiv_http_table_free) and its body (free with
 * zu_jitter_free). NULL when there is nothing to hand out; `status` tells the state in any case: 0
 * for an empty or broken filter, else 11, 12, 13 or 15. Both outputs may be NULL; a complete
 * message's body is then freed.
 *
 * A complete message (13) is removed and comes with a body, which may be empty. The body of an
 * unfinished response (12, 15) is delivered in parts: each call that finds new bytes gives a clone
 * of the table and those bytes; without a body output the bytes stay. Unfinished requests are not
 * handed out. */
KIV_API kiv_http_table* KIV_CALL kiv_http_filter_request_get(kiv_http_filter* filter,
                                                             zu_jitter** body,
                                                             int32_t* status) KIV_NOEXCEPT;
KIV_API kiv_http_table* KIV_CALL kiv_http_filter_response_get(kiv_http_filter* filter,
                                                              zu_jitter** body,
                                                              int32_t* status) KIV_NOEXCEPT;

/* Looks at the oldest message: 1 when its head is complete. The table and the body stay the
 * filter's own, valid until the next input or get. Outputs may be NULL. */
KIV_API int KIV_CALL kiv_http_filter_request_peek(kiv_http_filter* filter, kiv_http_table** table,
                                                  zu_jitter** body, int32_t* status) KIV_NOEXCEPT;

/* ---- Client ----------------------------------------------------------------------------------
 *
 * A request performs one exchange: it connects to the host of a URL, or to a proxy, sends a head
 * and a form, and hands on what the response filter makes of the answer.
 *
 *   static void KIV_CALL on_response(void* user, kiv_box* box, int32_t socket, const char* url,
 *                                    kiv_http_table* response, zu_jitter* body, int32_t status) {
 *     ... take the bytes out of `body`; the answer is complete with status 13 ...
 *   }
 *   kiv_http_request* request = kiv_http_request_make();
 *   kiv_http_request_SetField(request, "Accept", "text/html");
 *   kiv_http_request_attach(box, 0, request, "http://host.example/a?b=c", NULL, NULL, on_failure,
 *                           request, on_response, request, on_close, request);
 *
 * Callbacks run on the box's thread with no lock held; they may free the request or attach it
 * again. One that is about to run when another thread does that may still run to its end. Each may
 * be NULL. A request outlives its exchange until it is freed, which closes the socket; free it
 * before its box, or at once after.
 *
 * What goes out: method ("GET" when none is set), target, the fields Host (without a port),
 * User-Agent, Accept, Accept-Language, Accept-Charset, Keep-Alive and Connection, which fields of
 * the application replace by name, its other fields and then its form, in the order they were set.
 * The target is path and query, to a proxy too. A form goes out with any method, but only a POST
 * gets Content-Type and Content-Length.
 *
 * 30 s without a connection, or without the first byte of an answer, are a failure. After that byte
 * there is no time limit: the application sets a timer of its own. An answer that only ends with
 * its connection ends with the close callback; so does one to a HEAD that tells a length, as the
 * filter waits for its body.
 */

/* Failure: no connection, no answer in time, a broken answer, more than 1000 answers that wait, no
 * memory; nothing follows. Close: the peer closed; what was not sent yet is dropped. */
typedef void(KIV_CALL* kiv_http_request_socket_fn)(void* user, kiv_box* box, int32_t socket);

/* An answer: complete (status 13), or the next bytes of one that is not complete yet (12) or lasts
 * until the connection closes (15). Called once at most for each piece of data read, so the second
 * of two answers waits for more data, "100 Continue" counting as one; if the stream breaks, all
 * answers that were complete are delivered, then the failure. URL, table and body are freed when
 * the callback returns. */
typedef void(KIV_CALL* kiv_http_request_response_fn)(void* user, kiv_box* box, int32_t socket,
                                                     const char* url, kiv_http_table* response,
                                                     zu_jitter* body, int32_t status);

/* A request without an exchange, or NULL. */
KIV_API kiv_http_request* KIV_CALL kiv_http_request_make(void) KIV_NOEXCEPT;

/* Starts an exchange. The URL's scheme is http; a text without scheme and server, such as
 * "host.example/a", is taken for "http://" and that. Ports 0 to 2 are refused. The host, or the
 * proxy, is looked up here and blocks the caller with no lock held. Attaching again first ends the
 * earlier exchange. The reserved arguments are ignored.
 *
 * 1; or 0, no callback following: with a NULL box or URL or an unknown request nothing else
 * happens; after any other failure (the URL, the host, no socket, timer or memory) the request has
 * been freed. Errors of URL and host are printed. */
KIV_API int KIV_CALL kivx_http_request_attach(
    kiv_box* box, int32_t reserved_number, kiv_http_request* request, const char* url,
    const char* proxy_host, int32_t proxy_port, kiv_http_request_socket_fn reserved,
    void* reserved_user, kiv_http_request_socket_fn on_failure, void* failure_user,
    kiv_http_request_response_fn on_response, void* response_user,
    kiv_http_request_socket_fn on_close, void* close_user) KIV_NOEXCEPT;

/* The same without a proxy, as with a NULL `proxy_host`. */
KIV_API int KIV_CALL kiv_http_request_attach(
    kiv_box* box, int32_t reserved_number, kiv_http_request* request, const char* url,
    kiv_http_request_socket_fn reserved, void* reserved_user, kiv_http_request_socket_fn on_failure,
    void* failure_user, kiv_http_request_response_fn on_response, void* response_user,
    kiv_http_request_socket_fn on_close, void* close_user) KIV_NOEXCEPT;

/* What to send, with the results and the rules of the table's functions of like name. To be set
 * before attaching: the head is made when the connection opens. Setting a form field again is
 * safe here. */
KIV_API int KIV_CALL kiv_http_request_SetMethod(kiv_http_request* request,
                                                const char* method) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_request_SetField(kiv_http_request* request, const char* name,
                                               const char* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_request_UnsetField(kiv_http_request* request,
                                                 const char* name) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_request_SetForm(kiv_http_request* request, const char* name,
                                              const char* raw_value) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_request_UnsetForm(kiv_http_request* request,
                                                const char* name) KIV_NOEXCEPT;

/* What was attached last; NULL before that and for an unknown request. GetUri gives a copy, for
 * kiv_uri_free, and GetUrl a new text, for _zu_free; GetUri_in gives the request's own record,
 * valid until the request is attached again or freed. */
KIV_API kiv_uri* KIV_CALL kiv_http_request_GetUri(kiv_http_request* request) KIV_NOEXCEPT;
KIV_API const kiv_uri* KIV_CALL kiv_http_request_GetUri_in(kiv_http_request* request) KIV_NOEXCEPT;
KIV_API char* KIV_CALL kiv_http_request_GetUrl(kiv_http_request* request) KIV_NOEXCEPT;
KIV_API kiv_box* KIV_CALL kiv_http_request_GetBox(kiv_http_request* request) KIV_NOEXCEPT;

/* Ends the exchange, without a callback, and frees the request. 0 for NULL or an unknown one. */
KIV_API int KIV_CALL kiv_http_request_free(kiv_http_request* request) KIV_NOEXCEPT;

/* ---- Server ----------------------------------------------------------------------------------
 *
 * A server listens on a port of a box, offers each connection to the application and hands it each
 * complete request. Answers are the application's business: it writes them on the socket.
 *
 * Callbacks run on the box's thread with no lock held; they may call back into the server, delete
 * their client and free the server. Every operation on a freed server returns 0. Free it before its
 * box, or at once after.
 *
 * At most one request is delivered for each piece of data read. The second of two pipelined
 * requests waits for the next data on its connection. More than 1000 waiting requests count as a
 * broken stream. If what follows complete requests cannot be parsed, these are all delivered and
 * then the close callback is called.
 *
 * "Expect: 100-continue" is not answered, and a chunked request is delivered without its body, with
 * the close callback following.
 *
 * There are no time limits: a peer that connects and stays silent holds its place in the box, which
 * has 1024 of them. An application that faces strangers deletes idle sockets by timers of its own.
 */

/* A connection was accepted and belongs to the box. Taken into service only by
 * kiv_http_server_AcceptClient, else it is dropped at its first data, or with the server. The
 * peer's address as dotted text and its port are as the box gives them. */
typedef void(KIV_CALL* kiv_http_server_accept_fn)(kiv_http_server* server, void* user,
                                                  int32_t socket, const char* peer_ip,
                                                  uint16_t peer_port);

/* A request is complete. Table and body (NULL without one) are freed when the callback returns. */
typedef void(KIV_CALL* kiv_http_server_request_fn)(kiv_http_server* server, void* user,
                                                   int32_t socket, kiv_http_table* request,
                                                   zu_jitter* body);

/* The connection closed, or its stream is broken; in the second case it is called again at the
 * next data. The client stays until the application calls kiv_http_server_DeleteClient. */
typedef void(KIV_CALL* kiv_http_server_close_fn)(kiv_http_server* server, void* user,
                                                 int32_t socket);

/* A server without a box, or NULL. */
KIV_API kiv_http_server* KIV_CALL kiv_http_server_make(void) KIV_NOEXCEPT;

/* Listens on the port at all local addresses. 0 for port 0, a missing callback, an unknown server
 * or when the port cannot be opened. Attaching again first releases the earlier listener, all
 * clients and the connections nobody took. */
KIV_API int KIV_CALL kiv_http_server_attach(kiv_box* box, kiv_http_server* server, uint16_t port,
                                            kiv_http_server_accept_fn on_accept,
                                            void* accept_user) KIV_NOEXCEPT;

/* Takes a connection into service, usually from the accept callback. 0 when the socket is a client
 * already or memory runs out. Callbacks may be NULL; without a close callback the client is
 * deleted where the callback were due. */
KIV_API int KIV_CALL kiv_http_server_AcceptClient(kiv_http_server* server, int32_t socket,
                                                  kiv_http_server_request_fn on_request,
                                                  void* request_user,
                                                  kiv_http_server_close_fn on_close,
                                                  void* close_user) KIV_NOEXCEPT;

/* Closes the socket and forgets the client. A socket that is no client is still deleted from the
 * box, with result 0. */
KIV_API int KIV_CALL kiv_http_server_DeleteClient(kiv_http_server* server,
                                                  int32_t socket) KIV_NOEXCEPT;

/* The number of clients in service; 0 for NULL or an unknown server. */
KIV_API int32_t KIV_CALL kiv_http_server_NumClients(kiv_http_server* server) KIV_NOEXCEPT;

/* Stops listening, closes all clients without their close callbacks, and the connections nobody
 * took, and frees the server. 0 for NULL or an unknown server. */
KIV_API int KIV_CALL kiv_http_server_free(kiv_http_server* server) KIV_NOEXCEPT;

/* ---- Tunnel through a proxy ------------------------------------------------------------------
 *
 * A tunnel connects to an HTTP proxy, asks it by CONNECT for a connection to a target host and
 * port, and from then on passes on every byte that comes. The application writes into it on the
 * same socket:
 *
 *   static void KIV_CALL on_ready(void* box, int32_t socket) {
 *     kiv_box_TcpWrite(box, socket, greeting, greeting_length);
 *   }
 *   kiv_proxy_http* tunnel = kiv_proxy_http_make();
 *   kiv_proxy_http_attach(box, tunnel, "proxy.example", 3128, NULL, NULL, "host.example", 22,
 *                         on_ready, box, on_failure, box, on_data, box, on_close, box);
 *
 * Callbacks run on the box's thread with no lock held; they may free the tunnel or attach it again.
 * One that is about to run when another thread does that may still run to its end. Each may be
 * NULL. A tunnel outlives its connection until it is freed, which closes the socket; free it
 * before its box, or at once after.
 */

/* Ready: the proxy accepted. Failure: no connection, no accepted answer within 15 s, an answer
 * other than 200 or one of 1024 bytes and more; the socket is only a number then. Close: the
 * connection ended, perhaps before the tunnel was ready. */
typedef void(KIV_CALL* kiv_proxy_http_socket_fn)(void* user, int32_t socket);

/* Bytes of the tunnel, valid during the call, at most 5120 of them. */
typedef void(KIV_CALL* kiv_proxy_http_data_fn)(void* user, int32_t socket, const char* data,
                                               int32_t length);

/* A tunnel without a connection, or NULL. */
KIV_API kiv_proxy_http* KIV_CALL kiv_proxy_http_make(void) KIV_NOEXCEPT;

/* Starts to connect to the proxy, whose name is looked up here and blocks the caller with no lock
 * held. 1; 0 for a missing argument, an unknown tunnel or host, or when there is no socket or
 * timer: no callback follows then. Ports 0 to 2 of a proxy are refused. The first 128 bytes of
 * host names and 64 of user name and password are used; with a user name, which may be NULL or
 * empty, the request carries Basic authorisation. Nothing is checked or quoted: a CR LF in the
 * target host goes out as it is. Attaching again first releases the earlier connection. */
KIV_API int KIV_CALL kiv_proxy_http_attach(
    kiv_box* box, kiv_proxy_http* tunnel, const char* proxy_host, uint16_t proxy_port,
    const char* user, const char* password, const char* target_host, uint16_t target_port,
    kiv_proxy_http_socket_fn on_ready, void* ready_user, kiv_proxy_http_socket_fn on_failure,
    void* failure_user, kiv_proxy_http_data_fn on_data, void* data_user,
    kiv_proxy_http_socket_fn on_close, void* close_user) KIV_NOEXCEPT;

/* Closes the connection, without a callback, and frees the tunnel. 0 for NULL or an unknown one. */
KIV_API int KIV_CALL kiv_proxy_http_free(kiv_proxy_http* tunnel) KIV_NOEXCEPT;

/* ---- Text encodings -------------------------------------------------------------------------- */

/* Escapes text as form fields are: a blank becomes "+", ASCII letters, digits and "*" stay, every
 * other byte becomes "%" and two upper-case hexadecimal digits. Length 0 means up to the
 * terminating zero. A new text, NULL for NULL, a negative length or no memory. */
KIV_API char* KIV_CALL zu_url_escape_malloc(const char* text, int32_t length) KIV_NOEXCEPT;

/* The reverse: "+" becomes a blank; "%" and one or two hexadecimal digits become that byte, and
 * the two characters after "%" are skipped even when only the first is a digit; a "%" before
 * anything else stays. "%00" gives a zero byte, where C text ends. New, or NULL, as above. */
KIV_API char* KIV_CALL zu_url_unescape_malloc(const char* text, int32_t length) KIV_NOEXCEPT;

/* Both are _zu_free. */
KIV_API void KIV_CALL zu_url_escape_free(char* text) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_url_unescape_free(char* text) KIV_NOEXCEPT;

/* Base64 of RFC 4648 with padding and without line breaks, into a buffer of 4 characters for each
 * started group of 3 bytes and a terminating zero. Number of characters without the zero; -1 for
 * NULL, a length below 1 or one whose text is longer than INT32_MAX. */
KIV_API int32_t KIV_CALL zu_base64_encode(char* out, const void* bytes,
                                          int32_t length) KIV_NOEXCEPT;

/* The same into a new text. It comes from the C library's malloc and not from _zu_malloc: release
 * it with free(). -1 leaves *out NULL. */
KIV_API int32_t KIV_CALL zu_base64_encode00(char** out, const void* bytes,
                                            int32_t length) KIV_NOEXCEPT;

/* Decodes the text up to its terminating zero. Characters outside the alphabet, the padding among
 * them, are skipped; a last group of 2 or 3 characters gives 1 or 2 bytes; bytes beyond the
 * capacity are dropped. Number of bytes written; -1 for NULL or a capacity below 1. */
KIV_API int32_t KIV_CALL zu_base64_decode(void* out, const char* text,
                                          int32_t capacity) KIV_NOEXCEPT;

/* Writes the MD5 digest (RFC 1321) of the text up to its terminating zero as 32 lower-case
 * hexadecimal characters and a zero. 1, or 0 for NULL. */
KIV_API int KIV_CALL zu_md5_encode(char* out33, const char* text) KIV_NOEXCEPT;

/* ---- Forms -----------------------------------------------------------------------------------
 *
 * The fields of an urlencoded text (a query, or the body of a form post), looked up by name. Names
 * are matched exactly, and the first field of a name counts.
 */

/* A new form of `length` bytes of text; NULL for NULL, a negative length or no memory. "+" is read
 * as a blank, "%" and the two characters behind it as one byte, each that is no hexadecimal digit
 * or is missing counting as 0. A name is all up to the next "=": that of "a&b=1" is "a&b". A text
 * behind the last "=" and value is ignored. */
KIV_API zu_cgi* KIV_CALL zu_cgi_malloc(const char* text, int32_t length) KIV_NOEXCEPT;

/* Frees the form and the texts of its fields. */
KIV_API void KIV_CALL zu_cgi_free(zu_cgi* cgi) KIV_NOEXCEPT;

/* Copies the value of a field, cut to size - 1 characters, and a terminating zero. CR LF, a lone CR
 * and a lone LF each become LF. 1, or 0 with an empty text when there is no such field. The buffer
 * may be NULL and the size below 1: then this only asks whether the field is there. */
KIV_API int KIV_CALL zu_cgi_FormString(const zu_cgi* cgi, const char* name, char* out,
                                       int32_t size) KIV_NOEXCEPT;

/* Stores the decimal number that the value begins with, behind blanks, tabs and line ends, cut to
 * the range of int32. An empty value stores the default. 1, or 0 with the default stored for a
 * missing field and a value that begins with no digit or sign. */
KIV_API int KIV_CALL zu_cgi_FormInteger(const zu_cgi* cgi, const char* name, int32_t* out,
                                        int32_t default_value) KIV_NOEXCEPT;

#endif
