"""A stand-in for the desktop's portal: writes the message that it is asked to compose to FILE, and answers CODE."""
import os
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

INTERFACE = Gio.DBusNodeInfo.new_for_xml("""<node><interface name="org.freedesktop.portal.Email">
<method name="ComposeEmail"><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/>
<arg type="o" direction="out"/></method></interface></node>""").interfaces[0]
REQUEST = "/org/freedesktop/portal/desktop/request/x/y"


def call(bus, sender, _path, _interface, _method, parameters, invocation):
    options = parameters.unpack()[1]
    handles = invocation.get_message().get_unix_fd_list()
    text = options["subject"] + "\n" + options["body"]
    for index in options.get("attachment_fds", []):
        text += "|" + os.fdopen(handles.get(index)).read()
    with open(sys.argv[1] + ".new", "w", encoding="utf-8", newline="") as file:
        file.write(text)
    os.rename(sys.argv[1] + ".new", sys.argv[1])
    invocation.return_value(GLib.Variant("(o)", (REQUEST,)))
    bus.emit_signal(sender, REQUEST, "org.freedesktop.portal.Request", "Response",
                    GLib.Variant("(ua{sv})", (int(sys.argv[2]), {})))


loop = GLib.MainLoop()
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
bus.register_object("/org/freedesktop/portal/desktop", INTERFACE, call, None, None)
Gio.bus_own_name_on_connection(bus, "org.freedesktop.portal.Desktop", Gio.BusNameOwnerFlags.NONE, None,
                               lambda *_: loop.quit())
loop.run()
