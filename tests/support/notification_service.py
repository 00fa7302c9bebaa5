"""A stand-in for the desktop's notification service: writes each message to FILE, a JSON line each, and presses its button
KEY. As the portal with --portal: notification_service.py [--portal] FILE KEY."""
import json
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

portal = sys.argv[1] == "--portal"
file, key = sys.argv[-2:]
name = "org.freedesktop.portal.Desktop" if portal else "org.freedesktop.Notifications"
path = "/org/freedesktop/portal/desktop" if portal else "/org/freedesktop/Notifications"
interface = "org.freedesktop.portal.Notification" if portal else name
method = ('<method name="AddNotification"><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/></method>' if portal else
          '<method name="Notify">' + "".join(f'<arg type="{kind}" direction="in"/>' for kind in ("s", "u", "s", "s", "s", "as", "a{sv}", "i")) +
          '<arg type="u" direction="out"/></method>')


def call(bus, sender, _path, _interface, _method, parameters, invocation):
    with open(file, "a", encoding="utf-8") as lines:
        lines.write(json.dumps(parameters.unpack(), ensure_ascii=False) + "\n")
    invocation.return_value(None if portal else GLib.Variant("(u)", (7,)))
    signal = GLib.Variant("(ssav)", ("message", key, [])) if portal else GLib.Variant("(us)", (7, key))
    # Somebody else's message first.
    other = GLib.Variant("(ssav)", ("other", "discard", [])) if portal else GLib.Variant("(us)", (8, "discard"))
    for told in (other, signal):
        bus.emit_signal(None, path, interface, "ActionInvoked", told)


loop = GLib.MainLoop()
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
bus.register_object(path, Gio.DBusNodeInfo.new_for_xml(f'<node><interface name="{interface}">{method}</interface></node>').interfaces[0],
                    call, None, None)
Gio.bus_own_name_on_connection(bus, name, Gio.BusNameOwnerFlags.NONE, None, lambda *_: loop.quit())
loop.run()
