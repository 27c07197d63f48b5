/* HTTP: URIs, a table model of message heads, stream filters that split a connection's bytes into
 * messages, a client and a server over a box, a tunnel through a proxy, the string encodings they
 * share, and forms.
 *
 * The smallest use, a server that answers every request:
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
 * Threads: a URI, a table, a filter or a form belongs to one thread at a time. The operations
 * of a client's request, a server or a tunnel may be called from any thread. The encodings
 * keep no state. */
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
 * A URI reference as in RFC 2396, parsed into a record and printed again. The grammar is relaxed: a
 * backslash in the input counts as a slash; spaces around the URI are skipped (spaces only, no
 * tabs), and so are extra slashes after the "//" that precedes a server.
 *
 * Consequences of that, and of the grammar:
 * - The host of "file:///etc/x" is "etc": a printed file URI does not parse to what it was.
 * - The server extends to the end, to "/", to "?" or to a space. If that part is not a valid
 *   server, it is an authority and there is no host, as in "http://h#f" and "http://my_host/".
 * - A host is a sequence of labels of letters, digits and inner "-", the last one starting with a
 *   letter, or one to four numbers separated by dots. An IPv6 literal in brackets is accepted and
 *   dropped: there is no host then, and no path unless the input has one. "http://[::1]/a" prints
 * as "http:///a", whose host is "a".
 * - The path of "http://h/.." is empty, not "/", so "http://h/..#f" prints as "http://h#f".
 * - An escaped zero byte ("%00") ends the decoded string that contains it.
 *
 * Free newly allocated strings with _zu_free. */

/* Bits of kiv_uri.flags. */
enum {
  KIV_URI_UNWISE = 1, /* "{}|\^[]`" allowed in opaque part, query and fragment; never set here */
  KIV_URI_RAW = 2     /* no escapes were decoded */
};

/* The strings are separate blocks of _zu_malloc; NULL if the URI does not have that part. "Decoded"
 * means that "%41" is read as "A", unless the record is raw. */
typedef struct kiv_uri {
  char* scheme;         /* as written */
  char* opaque;         /* the part after a scheme that is not followed by "/", decoded */
  char* authority;      /* an authority that is not a valid server, as written */
  char* host;           /* name or dotted IPv4 address */
  char* user;           /* the part before "@", decoded */
  int32_t port;         /* as written, at most INT32_MAX; else the scheme's default; else 0 */
  char port_string[12]; /* the same in decimal */
  char* path;           /* decoded, then normalised; "/" for a host without a path */
  char* path_raw;       /* `path` escaped for a request line; NULL also if out of memory */
  char* query;          /* decoded */
  char* fragment;       /* decoded */
  int32_t flags;
  char* query_raw; /* as written */
} kiv_uri;

/* Parses a URI into a new record, to be freed with kiv_uri_free. Returns NULL if the string is not
 * a URI reference or if out of memory. The empty string is valid and has no parts. If `raw` is not
 * 0, the record is raw: nothing is decoded, and path_raw escapes each "%" of the path again. */
KIV_API kiv_uri* KIV_CALL kiv_uri_malloc(const char* text) KIV_NOEXCEPT;
KIV_API kiv_uri* KIV_CALL kiv_uri_mallocx(const char* text, int raw) KIV_NOEXCEPT;

/* Frees the strings and zeroes the fields except `flags`; kiv_uri_free also frees the record. */
KIV_API void KIV_CALL kiv_uri_cleanall(kiv_uri* uri) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_uri_free(kiv_uri* uri) KIV_NOEXCEPT;

/* Returns a newly allocated copy of the record and all its strings, or NULL if out of memory. */
KIV_API kiv_uri* KIV_CALL kiv_uri_clone(const kiv_uri* uri) KIV_NOEXCEPT;

/* Prints the whole URI and each part on standard output, one per line. */
KIV_API void KIV_CALL kiv_uri_print(const kiv_uri* uri) KIV_NOEXCEPT;

/* Returns the URI as a newly allocated string, with decoded parts escaped again; NULL if out of
 * memory. The port is omitted if it is the scheme's default; a scheme without a server is followed
 * by "//", so "file:/x" becomes "file:///x". */
KIV_API char* KIV_CALL kiv_uri_GetURIString(const kiv_uri* uri) KIV_NOEXCEPT;

/* Returns the target of a request line as a newly allocated string: path_raw, followed by "?" and
 * query_raw if there is a query; NULL if out of memory. It may be empty if there is no path. */
KIV_API char* KIV_CALL kiv_uri_GetURIRequest(const kiv_uri* uri) KIV_NOEXCEPT;

/* Return the fields, which the record still owns; NULL if the part is missing. The port is
 * truncated to 16 bits: 99999 reads as 34463. */
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

/* Resolves the reference against the base (RFC 2396, section 5.2) and returns a newly allocated
 * string. A reference with a scheme is returned as it is; without a usable base it is printed
 * alone; an empty one returns the base. A reference that consists only of a query or a fragment
 * keeps the base's path; one that consists only of a fragment also keeps its query. Returns NULL if
 * the reference is not a URI reference. If the base has no host, for instance an IPv6 literal, the
 * result can name another host: "/h/x" yields "http:///h/x", the host "h". Check the host before
 * connecting. */
KIV_API char* KIV_CALL kiv_uri_BuildURI(const char* reference, const char* base) KIV_NOEXCEPT;

/* Returns the relative path from the base's path to the URI's as a newly allocated string; query
 * and fragment are dropped. It is empty for equal paths, and for the directory of the base. Returns
 * the URI unchanged if no relative path leads to it: another scheme, host or port, or an opaque
 * part. Case matters. Returns NULL if either string is not a URI reference. */
KIV_API char* KIV_CALL kiv_uri_BuildRelativeURI(const char* text, const char* base) KIV_NOEXCEPT;

/* Normalises a path in place: runs of slashes, except leading ones, become one; "." is removed, and
 * so is ".." with the preceding segment. If the path starts with one slash, ".." at the top is
 * removed too ("/.." becomes empty); a relative path keeps it. Returns 0, or -1 for NULL. */
KIV_API int KIV_CALL kiv_uri_NormalizeURIPath(char* path) KIV_NOEXCEPT;

/* Returns a newly allocated string for a path or URI. A valid URI is returned as it is, which
 * includes "c:\dir"; a string with "scheme://" is escaped if it is valid then; "c:\my dir" becomes
 * "file:///c%3A/my%20dir"; in any other path backslashes become slashes. */
KIV_API char* KIV_CALL kiv_uri_CanonicPath(const char* path) KIV_NOEXCEPT;

/* Returns a newly allocated string for a path or URI. A valid URI is returned as it is; anything
 * else is the canonic path, escaped as a path. That also escapes the "file:" and the "%" of a drive
 * path: pass those only to kiv_uri_CanonicPath. */
KIV_API char* KIV_CALL kiv_uri_PathToURI(const char* path) KIV_NOEXCEPT;

/* ---- Tables ----------------------------------------------------------------------------------
 *
 * A table holds one message head: method, request target and version of a request, or version and
 * status line of a response; the header fields in order; and the form fields of a form post. A
 * table with a method is a request. Field names are matched without regard to ASCII case, form
 * names exactly; a parsed table may have several entries with the same name.
 *
 * All functions accept NULL for any argument and then return 0 or NULL. Actions return 1 on
 * success; 0 for bad arguments, an unknown name or if out of memory, and the table is then
 * unchanged. String arguments are copied. Strings that a function returns are owned by the table
 * and valid until that item is set, unset or freed.
 *
 * Nothing is checked or quoted when a table is written: a CR LF inside a method, target,
 * status line, field or form name is sent as it is. Keep strings from peers out of them, or
 * check them first. */

/* The standard status lines in ascending order, as arguments for kiv_http_table_SetStatus; the last
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

/* Creates an empty table with status value -1. Returns NULL if out of memory. */
KIV_API kiv_http_table* KIV_CALL kiv_http_table_make(void) KIV_NOEXCEPT;

/* Empties the table (status value -1); kiv_http_table_free also frees it. */
KIV_API void KIV_CALL kiv_http_table_free(kiv_http_table* table) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_http_table_clean(kiv_http_table* table) KIV_NOEXCEPT;

/* Returns a newly allocated table with the method, request target, status line, header fields
 * and form fields of another, including equal names; its cursors are at the start. The version
 * is not copied. The form values are escaped again from their raw strings. Returns NULL if out
 * of memory. */
KIV_API kiv_http_table* KIV_CALL kiv_http_table_clone(const kiv_http_table* table) KIV_NOEXCEPT;

/* Returns, sets or removes the method, such as "GET"; NULL while it is not set. */
KIV_API const char* KIV_CALL kiv_http_table_GetMethod(const kiv_http_table* table) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_SetMethod(kiv_http_table* table,
                                              const char* method) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_UnsetMethod(kiv_http_table* table) KIV_NOEXCEPT;

/* Returns, sets or removes the request target (path and query); NULL while it is not set. */
KIV_API const char* KIV_CALL kiv_http_table_GetRequest(const kiv_http_table* table) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_SetRequest(kiv_http_table* table,
                                               const char* request) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_UnsetRequest(kiv_http_table* table) KIV_NOEXCEPT;

/* Returns, sets or removes the status line without the version, such as "404 Not Found".
 * Setting it sets the status value to the leading decimal number of the string, 0 if there is
 * none. Unset leaves the status value at 0, not at the -1 of a new table. GetStatusValue
 * returns -1 for NULL. */
KIV_API const char* KIV_CALL kiv_http_table_GetStatus(const kiv_http_table* table) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_SetStatus(kiv_http_table* table,
                                              const char* status_line) KIV_NOEXCEPT;
KIV_API int32_t KIV_CALL kiv_http_table_GetStatusValue(const kiv_http_table* table) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_UnsetStatus(kiv_http_table* table) KIV_NOEXCEPT;

/* Returns, sets or removes the first header field of that name. Set replaces its value and adopts
 * the caller's spelling of the name, or adds a field at the end. ZeroField removes all fields. */
KIV_API const char* KIV_CALL kiv_http_table_GetField(const kiv_http_table* table,
                                                     const char* name) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_SetField(kiv_http_table* table, const char* name,
                                             const char* value) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_UnsetField(kiv_http_table* table,
                                               const char* name) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_ZeroField(kiv_http_table* table) KIV_NOEXCEPT;

/* Iterates over the header fields in order: Rewind, then GetNext until it returns 0. The cursor
 * counts entries, so if an entry that has been passed is removed, the iteration skips the next one.
 * The outputs may be NULL and are not changed at the end. */
KIV_API int KIV_CALL kiv_http_table_RewindField(kiv_http_table* table) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_GetNextField(kiv_http_table* table, const char** name,
                                                 const char** value) KIV_NOEXCEPT;

/* Returns, sets or removes a form field by name. GetForm returns the escaped value, GetFormRaw
 * the raw one; SetForm takes the raw value and escapes it (zu_url_escape_malloc); the name is
 * written as it is.
 *
 * Replacing the value of an existing name changes the form length by (new escaped length - new raw
 * length) instead of using the old value's length: unless both give the same,
 * kiv_http_table_GetFormStr fails afterwards. To change a value, unset it first. */
KIV_API const char* KIV_CALL kiv_http_table_GetForm(const kiv_http_table* table,
                                                    const char* name) KIV_NOEXCEPT;
KIV_API const char* KIV_CALL kiv_http_table_GetFormRaw(const kiv_http_table* table,
                                                       const char* name) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_SetForm(kiv_http_table* table, const char* name,
                                            const char* raw_value) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_UnsetForm(kiv_http_table* table, const char* name) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_ZeroForm(kiv_http_table* table) KIV_NOEXCEPT;

/* Iterates over the form fields, as kiv_http_table_GetNextField does over the header fields. */
KIV_API int KIV_CALL kiv_http_table_RewindForm(kiv_http_table* table) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_table_GetNextForm(kiv_http_table* table, const char** name,
                                                const char** escaped_value,
                                                const char** raw_value) KIV_NOEXCEPT;

/* Returns the head as a newly allocated string, up to and including its blank line, to be freed
 * with _zu_free.
 *
 * Returns NULL for a table without header fields, and, after printing a message, for one with
 * neither method nor status line. A missing version is stored as "HTTP/1.1". For a POST with form
 * fields the fields Content-Type and Content-Length of the form are set first. A request without a
 * target is written as method, space, version. */
KIV_API char* KIV_CALL kiv_http_table_GetHeaderStr(kiv_http_table* table) KIV_NOEXCEPT;

/* Returns the form as a newly allocated string, name=escaped value joined by "&", to be freed with
 * _zu_free. Returns NULL without form fields, and, after printing a message, if the length differs
 * from kiv_http_table_GetFormStrLen. */
KIV_API char* KIV_CALL kiv_http_table_GetFormStr(kiv_http_table* table) KIV_NOEXCEPT;

/* Returns the length of the form string in bytes, as counted by the setters; 0 without form
 * fields. */
KIV_API int32_t KIV_CALL kiv_http_table_GetFormStrLen(const kiv_http_table* table) KIV_NOEXCEPT;

/* Parses a head whose lines end in CR, LF or both, and returns a new table. Leading spaces and line
 * ends are skipped, and so are blank lines between fields. Spaces before a colon are skipped, equal
 * names are kept in order, and folded lines are invalid. Only versions 1.0 and 1.1 are accepted.
 * For an invalid head, which includes one with an empty field value or without a line end after its
 * last field, prints the reason with the whole head and returns NULL. */
KIV_API kiv_http_table* KIV_CALL kiv_http_table_ParseHeaderStr(const char* text) KIV_NOEXCEPT;

/* Parses an urlencoded string and returns a new table with its form fields. Returns NULL, after
 * printing a message, if a name is empty, has characters other than letters, digits, "-", "." and
 * "_", or is not followed by "=". */
KIV_API kiv_http_table* KIV_CALL kiv_http_table_ParseFormStr(const char* text) KIV_NOEXCEPT;

/* ---- Stream filters --------------------------------------------------------------------------
 *
 * A filter splits the bytes of one connection into messages, however they are fragmented. A request
 * filter reads bodies by Content-Length; a response filter also reads chunked bodies and, for a 200
 * response with "Connection: close", the rest of the connection. Trailer fields after the last
 * chunk are not supported.
 *
 * Any other message ends with its head, whatever its status: a request with a chunked body, or a
 * 404 without a length. If a head states a length, that many bytes are awaited, even for a 304 or
 * for the answer to a HEAD. The first Content-Length counts, read as a number with a sign and up to
 * its first other character ("+3" and "3x" are 3), and it overrides a chunked coding. A head ends
 * only with CR LF CR LF, or at a zero byte at the start of a line; what follows the zero byte, up
 * to the blank line, is dropped.
 *
 * Limits: 5120 bytes for a head, 1024 for a chunk-size line, INT32_MAX for one Content-Length or
 * chunk size, and the capacity of a jitter buffer (1.6 GB) for body bytes that have not been taken
 * out. The number of waiting messages is unlimited: take them out. */

/* States of a message, and the status values returned. */
enum {
  KIV_HTTP_NEW = 0,
  KIV_HTTP_HEAD = 11, /* head incomplete */
  KIV_HTTP_BODY = 12, /* body incomplete */
  KIV_HTTP_COMPLETE = 13,
  KIV_HTTP_CHUNKED = 14,     /* chunked body incomplete; returned as 12 */
  KIV_HTTP_UNTIL_CLOSE = 15, /* the body lasts until the connection closes */
  KIV_HTTP_BROKEN = 21       /* bad stream, final; returned as 0 */
};

/* Creates an empty filter for requests or for responses. Returns NULL if out of memory. */
KIV_API kiv_http_filter* KIV_CALL kiv_http_filter_request_make(void) KIV_NOEXCEPT;
KIV_API kiv_http_filter* KIV_CALL kiv_http_filter_response_make(void) KIV_NOEXCEPT;

/* Frees the filter and all messages still in it. */
KIV_API void KIV_CALL kiv_http_filter_request_free(kiv_http_filter* filter) KIV_NOEXCEPT;
KIV_API void KIV_CALL kiv_http_filter_response_free(kiv_http_filter* filter) KIV_NOEXCEPT;

/* Feeds the next n bytes of the stream. Returns 1 if all were accepted; 0 if the stream is broken
 * (bad head or chunk line, a limit, out of memory), and for every later input. Messages that were
 * complete before the fault can still be taken out. A request filter also rejects responses. */
KIV_API int KIV_CALL kiv_http_filter_request_input(kiv_http_filter* filter, const void* bytes,
                                                   int32_t n) KIV_NOEXCEPT;
KIV_API int KIV_CALL kiv_http_filter_response_input(kiv_http_filter* filter, const void* bytes,
                                                    int32_t n) KIV_NOEXCEPT;

/* Takes out the oldest message: returns its table (free it with kiv_http_table_free) and stores its
 * body (free it with zu_jitter_free). Returns NULL if there is nothing to return. `status` receives
 * the state in any case: 0 for an empty or broken filter, else 11, 12, 13 or 15. Both outputs may
 * be NULL; the body of a complete message is then freed.
 *
 * A complete message (13) is removed and has a body, which may be empty. The body of an
 * unfinished response (12, 15) is delivered in parts: each call that finds new bytes returns a
 * copy of the table and those bytes; without a body output the bytes are kept. Unfinished
 * requests are not returned. */
KIV_API kiv_http_table* KIV_CALL kiv_http_filter_request_get(kiv_http_filter* filter,
                                                             zu_jitter** body,
                                                             int32_t* status) KIV_NOEXCEPT;
KIV_API kiv_http_table* KIV_CALL kiv_http_filter_response_get(kiv_http_filter* filter,
                                                              zu_jitter** body,
                                                              int32_t* status) KIV_NOEXCEPT;

/* Looks at the oldest message. Returns 1 if its head is complete, else 0. The filter still owns the
 * table and the body, which are valid until the next input or get. Outputs may be NULL. */
KIV_API int KIV_CALL kiv_http_filter_request_peek(kiv_http_filter* filter, kiv_http_table** table,
                                                  zu_jitter** body, int32_t* status) KIV_NOEXCEPT;

/* ---- Client ----------------------------------------------------------------------------------
 *
 * A request performs one exchange: it connects to the host of a URL, or to a proxy, sends a head
 * and a form, and delivers the messages that the response filter finds in the answer.
 *
 *   static void KIV_CALL on_response(void* user, kiv_box* box, int32_t socket, const char* url,
 *                                    kiv_http_table* response, zu_jitter* body, int32_t status) {
 *     ... read the bytes from `body`; the answer is complete with status 13 ...
 *   }
 *   kiv_http_request* request = kiv_http_request_make();
 *   kiv_http_request_SetField(request, "Accept", "text/html");
 *   kiv_http_request_attach(box, 0, request, "http://host.example/a?b=c", NULL, NULL, on_failure,
 *                           request, on_response, request, on_close, request);
 *
 * Callbacks run on the box's thread with no lock held; they may free the request or attach it
 * again. A callback that is about to run when another thread does so may still run to its end. Each
 * may be NULL. A request outlives its exchange until it is freed, which closes the socket; free it
 * before its box, or immediately after.
 *
 * Sent are the method ("GET" if none is set), the target, the fields Host (without a port),
 * User-Agent, Accept, Accept-Language, Accept-Charset, Keep-Alive and Connection, which the
 * application's fields replace by name, its other fields and then its form, in the order in which
 * they were set. The target is path and query, to a proxy too. A form is sent with any method, but
 * only a POST gets Content-Type and Content-Length.
 *
 * The exchange fails after 30 s without a connection, or without the first byte of an answer. After
 * that byte there is no time limit: set a timer of your own. An answer that ends only with its
 * connection ends with the close callback; so does the answer to a HEAD that states a length, since
 * the filter waits for its body. */

/* Failure: no connection, no answer in time, a broken answer, more than 1000 waiting answers, out
 * of memory; no further callback follows. Close: the peer closed; data not yet sent is dropped. */
typedef void(KIV_CALL* kiv_http_request_socket_fn)(void* user, kiv_box* box, int32_t socket);

/* An answer: complete (status 13), or the next bytes of one that is incomplete (12) or lasts until
 * the connection closes (15). Called at most once for each piece of data read, so the second of
 * two answers waits for more data; "100 Continue" counts as one. If the stream breaks, all
 * complete answers are delivered, then the failure. URL, table and body are freed when the
 * callback returns. */
typedef void(KIV_CALL* kiv_http_request_response_fn)(void* user, kiv_box* box, int32_t socket,
                                                     const char* url, kiv_http_table* response,
                                                     zu_jitter* body, int32_t status);

/* Creates a request without an exchange. Returns NULL if out of memory. */
KIV_API kiv_http_request* KIV_CALL kiv_http_request_make(void) KIV_NOEXCEPT;

/* Starts an exchange. The URL's scheme is http; a string without scheme and server, such as
 * "host.example/a", is read as if it started with "http://". Ports 0 to 2 fail. The host, or the
 * proxy, is looked up first, which blocks the caller; no lock is held meanwhile. Attaching again
 * first ends the earlier exchange. The reserved arguments are ignored.
 *
 * Returns 1; or 0, in which case no callback follows: for a NULL box or URL or an unknown request
 * nothing else happens; after any other failure (the URL, the host, no socket, timer or memory) the
 * request has been freed. Errors of URL and host are printed. */
KIV_API int KIV_CALL kivx_http_request_attach(
    kiv_box* box, int32_t reserved_number, kiv_http_request* request, const char* url,
    const char* proxy_host, int32_t proxy_port, kiv_http_request_socket_fn reserved,
    void* reserved_user, kiv_http_request_socket_fn on_failure, void* failure_user,
    kiv_http_request_response_fn on_response, void* response_user,
    kiv_http_request_socket_fn on_close, void* close_user) KIV_NOEXCEPT;

/* Does the same without a proxy, as with a NULL `proxy_host`. */
KIV_API int KIV_CALL kiv_http_request_attach(
    kiv_box* box, int32_t reserved_number, kiv_http_request* request, const char* url,
    kiv_http_request_socket_fn reserved, void* reserved_user, kiv_http_request_socket_fn on_failure,
    void* failure_user, kiv_http_request_response_fn on_response, void* response_user,
    kiv_http_request_socket_fn on_close, void* close_user) KIV_NOEXCEPT;

/* Set what to send, with the results and rules of the table functions whose names end in the same
 * word (kiv_http_table_SetMethod and so on). Call them before attaching: the head is built when the
 * connection opens. Setting a form field again is safe here. */
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

/* Return what was attached last; NULL before that and for an unknown request. GetUri returns a
 * copy, to be freed with kiv_uri_free, and GetUrl a newly allocated string, to be freed with
 * _zu_free; GetUri_in returns the request's own record, valid until the request is attached
 * again or freed. */
KIV_API kiv_uri* KIV_CALL kiv_http_request_GetUri(kiv_http_request* request) KIV_NOEXCEPT;
KIV_API const kiv_uri* KIV_CALL kiv_http_request_GetUri_in(kiv_http_request* request) KIV_NOEXCEPT;
KIV_API char* KIV_CALL kiv_http_request_GetUrl(kiv_http_request* request) KIV_NOEXCEPT;
KIV_API kiv_box* KIV_CALL kiv_http_request_GetBox(kiv_http_request* request) KIV_NOEXCEPT;

/* Ends the exchange, without a callback, and frees the request. Returns 1, or 0 for NULL or an
 * unknown request. */
KIV_API int KIV_CALL kiv_http_request_free(kiv_http_request* request) KIV_NOEXCEPT;

/* ---- Server ----------------------------------------------------------------------------------
 *
 * A server listens on a port of a box, offers each connection to the application and delivers each
 * complete request to it. The application writes the answers to the socket itself.
 *
 * Callbacks run on the box's thread with no lock held; they may call back into the server, delete
 * their client and free the server. Every operation on a freed server returns 0. Free it before its
 * box, or immediately after.
 *
 * At most one request is delivered for each piece of data read. The second of two pipelined
 * requests waits for the next data on its connection. More than 1000 waiting requests count as a
 * broken stream. If the bytes after complete requests cannot be parsed, all of these are delivered
 * and then the close callback is called.
 *
 * "Expect: 100-continue" is not answered, and a chunked request is delivered without its body,
 * followed by the close callback.
 *
 * There are no time limits: a peer that connects and stays silent keeps its place in the box,
 * which has 1024 of them. An application that serves untrusted peers deletes idle sockets with
 * timers of its own. */

/* A connection was accepted and belongs to the box. Unless kiv_http_server_AcceptClient is called
 * for it, it is dropped when its first data arrives, or with the server. The peer's dotted address
 * and its port are those that the box reports. */
typedef void(KIV_CALL* kiv_http_server_accept_fn)(kiv_http_server* server, void* user,
                                                  int32_t socket, const char* peer_ip,
                                                  uint16_t peer_port);

/* A request is complete. Table and body (NULL if there is none) are freed when the callback
 * returns. */
typedef void(KIV_CALL* kiv_http_server_request_fn)(kiv_http_server* server, void* user,
                                                   int32_t socket, kiv_http_table* request,
                                                   zu_jitter* body);

/* The connection closed, or its stream is broken; in the second case the callback is repeated for
 * the next data. The client exists until the application calls kiv_http_server_DeleteClient. */
typedef void(KIV_CALL* kiv_http_server_close_fn)(kiv_http_server* server, void* user,
                                                 int32_t socket);

/* Creates a server without a box. Returns NULL if out of memory. */
KIV_API kiv_http_server* KIV_CALL kiv_http_server_make(void) KIV_NOEXCEPT;

/* Listens on the port at all local addresses. Returns 1, or 0 for port 0, a missing callback, an
 * unknown server or if the port cannot be opened. Attaching again first releases the earlier
 * listener, all clients and the connections that were not accepted. */
KIV_API int KIV_CALL kiv_http_server_attach(kiv_box* box, kiv_http_server* server, uint16_t port,
                                            kiv_http_server_accept_fn on_accept,
                                            void* accept_user) KIV_NOEXCEPT;

/* Makes a connection a client, usually in the accept callback. Returns 1, or 0 if the socket is a
 * client already or if out of memory. Callbacks may be NULL; without a close callback the client is
 * deleted at the point where that callback would be called. */
KIV_API int KIV_CALL kiv_http_server_AcceptClient(kiv_http_server* server, int32_t socket,
                                                  kiv_http_server_request_fn on_request,
                                                  void* request_user,
                                                  kiv_http_server_close_fn on_close,
                                                  void* close_user) KIV_NOEXCEPT;

/* Closes the socket and removes the client. Returns 1. A socket that is not a client is also
 * deleted from the box, but 0 is returned. */
KIV_API int KIV_CALL kiv_http_server_DeleteClient(kiv_http_server* server,
                                                  int32_t socket) KIV_NOEXCEPT;

/* Returns the number of clients; 0 for NULL or an unknown server. */
KIV_API int32_t KIV_CALL kiv_http_server_NumClients(kiv_http_server* server) KIV_NOEXCEPT;

/* Stops listening, closes all clients without their close callbacks, and the connections that were
 * not accepted, and frees the server. Returns 1, or 0 for NULL or an unknown server. */
KIV_API int KIV_CALL kiv_http_server_free(kiv_http_server* server) KIV_NOEXCEPT;

/* ---- Tunnel through a proxy ------------------------------------------------------------------
 *
 * A tunnel connects to an HTTP proxy, asks it by CONNECT for a connection to a target host and
 * port, and from then on delivers every byte that arrives. The application writes into it on
 * the same socket:
 *
 *   static void KIV_CALL on_ready(void* box, int32_t socket) {
 *     kiv_box_TcpWrite(box, socket, greeting, greeting_length);
 *   }
 *   kiv_proxy_http* tunnel = kiv_proxy_http_make();
 *   kiv_proxy_http_attach(box, tunnel, "proxy.example", 3128, NULL, NULL, "host.example", 22,
 *                         on_ready, box, on_failure, box, on_data, box, on_close, box);
 *
 * Callbacks run on the box's thread with no lock held; they may free the tunnel or attach it again.
 * A callback that is about to run when another thread does so may still run to its end. Each may be
 * NULL. A tunnel outlives its connection until it is freed, which closes the socket; free it before
 * its box, or immediately after. */

/* Ready: the proxy accepted. Failure: no connection, no accepted answer within 15 s, an answer
 * other than 200 or one of 1024 bytes or more; the socket is then only a number. Close: the
 * connection ended, possibly before the tunnel was ready. */
typedef void(KIV_CALL* kiv_proxy_http_socket_fn)(void* user, int32_t socket);

/* Bytes of the tunnel, at most 5120, valid during the call. */
typedef void(KIV_CALL* kiv_proxy_http_data_fn)(void* user, int32_t socket, const char* data,
                                               int32_t length);

/* Creates a tunnel without a connection. Returns NULL if out of memory. */
KIV_API kiv_proxy_http* KIV_CALL kiv_proxy_http_make(void) KIV_NOEXCEPT;

/* Starts to connect to the proxy, whose name is looked up first, which blocks the caller; no lock
 * is held meanwhile. Returns 1; or 0 for a missing argument, an unknown tunnel or host, or if there
 * is no socket or timer: no callback follows then. Ports 0 to 2 of a proxy fail. The first 128
 * bytes of host names and 64 of user name and password are used; with a user name, which may be
 * NULL or empty, the request carries Basic authorisation. Nothing is checked or quoted: a CR LF in
 * the target host is sent as it is. Attaching again first releases the earlier connection. */
KIV_API int KIV_CALL kiv_proxy_http_attach(
    kiv_box* box, kiv_proxy_http* tunnel, const char* proxy_host, uint16_t proxy_port,
    const char* user, const char* password, const char* target_host, uint16_t target_port,
    kiv_proxy_http_socket_fn on_ready, void* ready_user, kiv_proxy_http_socket_fn on_failure,
    void* failure_user, kiv_proxy_http_data_fn on_data, void* data_user,
    kiv_proxy_http_socket_fn on_close, void* close_user) KIV_NOEXCEPT;

/* Closes the connection, without a callback, and frees the tunnel. Returns 1, or 0 for NULL or an
 * unknown tunnel. */
KIV_API int KIV_CALL kiv_proxy_http_free(kiv_proxy_http* tunnel) KIV_NOEXCEPT;

/* ---- String encodings ------------------------------------------------------------------------ */

/* Escapes a string as form fields are: a space becomes "+", ASCII letters, digits and "*" are
 * kept, every other byte becomes "%" and two upper-case hexadecimal digits. Length 0 means up to
 * the terminating zero. Returns a newly allocated string; NULL for NULL, a negative length or if
 * out of memory. */
KIV_API char* KIV_CALL zu_url_escape_malloc(const char* text, int32_t length) KIV_NOEXCEPT;

/* Reverses that: "+" becomes a space; "%" and one or two hexadecimal digits become that byte, and
 * the two characters after "%" are skipped even if only the first is a digit; a "%" before anything
 * else is kept. "%00" yields a zero byte, where a C string ends. Returns a newly allocated string,
 * or NULL as above. */
KIV_API char* KIV_CALL zu_url_unescape_malloc(const char* text, int32_t length) KIV_NOEXCEPT;

/* Free a string; both are _zu_free. */
KIV_API void KIV_CALL zu_url_escape_free(char* text) KIV_NOEXCEPT;
KIV_API void KIV_CALL zu_url_unescape_free(char* text) KIV_NOEXCEPT;

/* Encodes bytes in base64 (RFC 4648), with padding and without line breaks, into a buffer of 4
 * characters for each started group of 3 bytes and a terminating zero. Returns the number of
 * characters without the zero; -1 for NULL, a length below 1 or one whose result is longer than
 * INT32_MAX. */
KIV_API int32_t KIV_CALL zu_base64_encode(char* out, const void* bytes,
                                          int32_t length) KIV_NOEXCEPT;

/* Encodes into a newly allocated string. It is allocated by the C library's malloc and not by
 * _zu_malloc: release it with free(). If -1 is returned, *out is NULL. */
KIV_API int32_t KIV_CALL zu_base64_encode00(char** out, const void* bytes,
                                            int32_t length) KIV_NOEXCEPT;

/* Decodes the string up to its terminating zero. Characters outside the alphabet, including the
 * padding, are skipped; a last group of 2 or 3 characters yields 1 or 2 bytes; bytes beyond the
 * capacity are dropped. Returns the number of bytes written; -1 for NULL or a capacity below 1. */
KIV_API int32_t KIV_CALL zu_base64_decode(void* out, const char* text,
                                          int32_t capacity) KIV_NOEXCEPT;

/* Writes the MD5 digest (RFC 1321) of the string up to its terminating zero, as 32 lower-case
 * hexadecimal characters and a zero. Returns 1, or 0 for NULL. */
KIV_API int KIV_CALL zu_md5_encode(char* out33, const char* text) KIV_NOEXCEPT;

/* ---- Forms -----------------------------------------------------------------------------------
 *
 * The fields of an urlencoded string (a query, or the body of a form post), looked up by name.
 * Names are matched exactly, and the first field of a name counts. */

/* Parses `length` bytes into a new form. Returns NULL for NULL, a negative length or if out of
 * memory. "+" is read as a space, "%" and the two following characters as one byte, where a
 * character that is missing or not a hexadecimal digit counts as 0. A name extends to the next "=":
 * that of "a&b=1" is "a&b". Characters after the last "=" and its value are ignored. */
KIV_API zu_cgi* KIV_CALL zu_cgi_malloc(const char* text, int32_t length) KIV_NOEXCEPT;

/* Frees the form and the strings of its fields. */
KIV_API void KIV_CALL zu_cgi_free(zu_cgi* cgi) KIV_NOEXCEPT;

/* Copies the value of a field, truncated to size - 1 characters, and a terminating zero. CR LF, a
 * lone CR and a lone LF each become LF. Returns 1, or 0 with an empty string if there is no such
 * field. The buffer may be NULL and the size below 1: the call then only reports whether the
 * field exists. */
KIV_API int KIV_CALL zu_cgi_FormString(const zu_cgi* cgi, const char* name, char* out,
                                       int32_t size) KIV_NOEXCEPT;

/* Stores the decimal number at the start of the value, after spaces, tabs and line ends, clamped to
 * the range of int32. An empty value stores the default. Returns 1; or 0 with the default stored if
 * the field is missing or its value does not start with a digit or sign. */
KIV_API int KIV_CALL zu_cgi_FormInteger(const zu_cgi* cgi, const char* name, int32_t* out,
                                        int32_t default_value) KIV_NOEXCEPT;

#endif
