"""What fetch.py uses of kiv_base, through ctypes: types, functions and texts.

KIV_BASE_LIBRARY names the library's file; else the system looks for it.
"""
import ctypes
import os
from ctypes import c_char_p, c_int, c_int32, c_uint16, c_uint32, c_void_p

# Callbacks are cdecl everywhere. Python keeps none of them alive: whoever registers one does.
SocketCallback = ctypes.CFUNCTYPE(None, c_void_p, c_void_p, c_int32)
ResponseCallback = ctypes.CFUNCTYPE(
    None, c_void_p, c_void_p, c_int32, c_char_p, c_void_p, c_void_p, c_int32)
TimerCallback = ctypes.CFUNCTYPE(None, c_void_p, c_void_p, c_int32, c_int32)

HTTP_COMPLETE = 13
HTTP_UNTIL_CLOSE = 15

SIGNATURES = {
    "kiv_box_new": (c_void_p,),
    "kiv_box_loop": (None, c_void_p),
    "kiv_box_BreakLoop": (None, c_void_p),
    "kiv_box_free": (None, c_void_p),
    "kiv_box_NewOnceTimer": (c_int32, c_void_p, c_uint32, TimerCallback, c_void_p),
    "kiv_http_request_make": (c_void_p,),
    "kiv_http_request_free": (c_int, c_void_p),
    "kiv_http_request_SetField": (c_int, c_void_p, c_char_p, c_char_p),
    "kiv_http_request_attach": (
        c_int, c_void_p, c_int32, c_void_p, c_char_p, c_void_p, c_void_p, SocketCallback, c_void_p,
        ResponseCallback, c_void_p, SocketCallback, c_void_p),
    "kiv_http_table_GetStatus": (c_char_p, c_void_p),
    "zu_jitter_GetLen": (c_int32, c_void_p),
    "kiv_uri_malloc": (c_void_p, c_char_p),
    "kiv_uri_free": (None, c_void_p),
    "kiv_uri_GetScheme": (c_char_p, c_void_p),
    "kiv_uri_GetUser": (c_char_p, c_void_p),
    "kiv_uri_GetHost": (c_char_p, c_void_p),
    "kiv_uri_GetPort": (c_uint16, c_void_p),
    "kiv_uri_GetPath": (c_char_p, c_void_p),
    "kiv_uri_GetQuery": (c_char_p, c_void_p),
    "kiv_uri_GetFragment": (c_char_p, c_void_p),
    "kiv_uri_GetURIString": (c_void_p, c_void_p),  # new: see new_text
    "_zu_free": (None, c_void_p),
}


def load():
    usual = "kiv_base.dll" if os.name == "nt" else "libkiv_base.so.1"
    library = ctypes.CDLL(os.environ.get("KIV_BASE_LIBRARY", usual))
    for name, (result, *arguments) in SIGNATURES.items():
        function = getattr(library, name)
        function.restype, function.argtypes = result, arguments
    return library


lib = load()


def new_text(address):
    """A text that the library hands out as new; None for NULL."""
    if address is None:
        return None
    text = ctypes.string_at(address).decode(errors="replace")
    lib._zu_free(address)
    return text
