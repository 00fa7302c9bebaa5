#!/usr/bin/env python3
"""A meeting client in one page: starts the assistant, tells it about a meeting, and leaves as planned.

    minimal.py /opt/orvane/bin/orvanedga [/opt/orvane/lib/liborvane_dga_client.so.0]
"""
import ctypes
import json
import os
import sys


class GError(ctypes.Structure):
    _fields_ = [("domain", ctypes.c_uint32), ("code", ctypes.c_int), ("message", ctypes.c_char_p)]


library = ctypes.CDLL(sys.argv[2] if len(sys.argv) > 2 else "liborvane_dga_client.so.0")
glib = ctypes.CDLL("libglib-2.0.so.0")
glib.g_error_free.argtypes = [ctypes.POINTER(GError)]
library.orvane_dga_start.restype = ctypes.c_void_p


def call(name, *arguments):
    """One call of the library, that fails as an exception."""
    error = ctypes.POINTER(GError)()
    result = getattr(library, name)(*arguments, ctypes.byref(error))
    if not result:
        message = error.contents.message.decode()
        glib.g_error_free(error)
        raise RuntimeError(message)
    return result


def as_text(value):
    return json.dumps(value).encode()


dga = ctypes.c_void_p(call("orvane_dga_start", os.fsencode(sys.argv[1])))
try:
    call("orvane_dga_wait_ready", dga, ctypes.c_uint(10000))
    call("orvane_dga_send_parameters", dga, as_text({
        "serviceType": 1, "processID": str(os.getpid()), "activeLanguage": 0, "clientVersion": "1.0",
        "confId": "123456", "userName": "Ann"}))
    # A client sends the heartbeat every few seconds, and what changed in the meeting when it changes.
    call("orvane_dga_heartbeat", dga)
    call("orvane_dga_update_meeting_data", dga, as_text({"event": {"eventType": 1}}))
    call("orvane_dga_update_meeting_data", dga, as_text({"audioQuality": {"sendQuality": 4}}))
    call("orvane_dga_quit", dga)
finally:
    library.orvane_dga_free(dga)
