"""A stand-in for the desktop's portal with its dialog for saving: save_portal.py FILE ANSWER... writes what it is asked to
FILE, a JSON line each, and answers with a path, or with a code: 1 cancelled, 2 failed. The last answer is that to all more."""
import json
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

path, name = "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Desktop"
file, answers = sys.argv[1], sys.argv[2:]


def call(bus, sender, _path, _interface, _method, parameters, invocation):
    with open(file, "a", encoding="utf-8") as lines:
        lines.write(json.dumps(parameters.unpack()) + "\n")
    answer = answers.pop(0) if len(answers) > 1 else answers[0]
    request = path + "/request/1"
    invocation.return_value(GLib.Variant("(o)", (request,)))
    code = int(answer) if answer.isdigit() else 0
    uris = {} if code else {"uris": GLib.Variant("as", [GLib.filename_to_uri(answer, None)])}
    bus.emit_signal(sender, request, "org.freedesktop.portal.Request", "Response", GLib.Variant("(ua{sv})", (code, uris)))


loop = GLib.MainLoop()
bus = Gio.bus_get_sync(Gio.BusType.SESSION)
xml = ('<node><interface name="org.freedesktop.portal.FileChooser"><method name="SaveFile"><arg type="s" direction="in"/>'
       '<arg type="s" direction="in"/><arg type="a{sv}" direction="in"/><arg type="o" direction="out"/></method></interface></node>')
bus.register_object(path, Gio.DBusNodeInfo.new_for_xml(xml).interfaces[0], call, None, None)
Gio.bus_own_name_on_connection(bus, name, Gio.BusNameOwnerFlags.NONE, None, lambda *_: loop.quit())
loop.run()
