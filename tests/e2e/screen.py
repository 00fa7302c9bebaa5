#!/usr/bin/python3
"""What the window program of the assistant of process id $DGA_PID has on the screen, as assistive programs see it.

screen.py see ROLE NAME [STATE|-STATE]...  waits until it shows, with these states and without those after "-"
screen.py gone ROLE NAME                   waits until nothing of that kind shows
screen.py place ROLE NAME                  waits for it and prints the middle of it: X Y
screen.py press ROLE NAME                  waits for it and does its first action
screen.py write ROLE NAME FILE             waits for it and puts in the text of a file
screen.py read ROLE NAME                   waits for it and prints its text
screen.py hear TEXT...                     says "listening" and waits until a screen reader would say all these by itself
screen.py labels                           prints the texts of all labels, a line each
screen.py controls                         prints what is wrong: controls without a name, a role or an action
NAME is a shell pattern. Waits up to $PATIENCE seconds; fails with a list of what shows.
"""
import fnmatch
import os
import sys
import time
import warnings

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

warnings.simplefilter("ignore")
WINDOWS = ("dialog", "frame", "window", "alert")
BUTTONS = ("push button", "check box")


def states(part):
    return {state.value_nick for state in part.get_state_set().get_states()}


def parts_below(part):
    for index in range(part.get_child_count()):
        child = part.get_child_at_index(index)
        if child:
            yield child
            yield from parts_below(child)


def parent_of(process):
    try:
        with open(f"/proc/{process}/stat", encoding="ascii", errors="replace") as stat:
            return int(stat.read().rpartition(")")[2].split()[1])
    except OSError:
        return 0


def showing():
    desktop = Atspi.get_desktop(0)
    desktop.set_cache_mask(Atspi.Cache.NONE)
    for index in range(desktop.get_child_count()):
        program = desktop.get_child_at_index(index)
        if program and parent_of(program.get_process_id()) == int(os.environ["DGA_PID"]):
            program.set_cache_mask(Atspi.Cache.NONE)
            yield from (part for part in parts_below(program) if "showing" in states(part))


def find(role, name, wanted):
    for part in showing():
        has = states(part)
        fits = all((state[1:] not in has) if state[0] == "-" else (state in has) for state in wanted)
        if fits and part.get_role_name() == role and fnmatch.fnmatchcase(part.get_name(), name):
            return part
    return None


def list_all():
    try:
        for part in showing():
            print(f"    {part.get_role_name()} '{part.get_name()}' {sorted(states(part))}", file=sys.stderr)
    except GLib.Error as error:
        print(f"    {error.message}", file=sys.stderr)


def wait_for(condition, what):
    end = time.monotonic() + float(os.environ["PATIENCE"])
    while time.monotonic() < end:
        try:
            found = condition()
            if found:
                return found
        except GLib.Error:
            pass  # it ended while it was looked at
        time.sleep(0.1)
    print(f"waited in vain for: {what}. What shows:", file=sys.stderr)
    list_all()
    sys.exit(1)


def text_of(part):
    return Atspi.Text.get_text(part, 0, Atspi.Text.get_character_count(part))


def controls():
    faults = []
    for part in showing():
        role, name, has = part.get_role_name(), part.get_name(), states(part)
        if part.get_parent().get_role_name() == "application" and role not in WINDOWS:
            faults.append(f"the window '{name}' is a {role}")
        if "focusable" in has and "transient" not in has:
            if role in ("filler", "unknown", "panel"):
                faults.append(f"'{name}' takes the keyboard as a {role}")
            # The name of a box is what was chosen.
            if not name or (role == "combo box" and part.get_description() in ("", name)):
                faults.append(f"a {role} without a name ('{name}')")
        if role in BUTTONS and "sensitive" in has and Atspi.Action.get_n_actions(part) == 0:
            faults.append(f"the {role} '{name}' cannot be pressed")
    return faults


def hear(patterns):
    """Screen readers say an alert that comes to be shown."""
    missing = set(patterns)

    def told(event):
        event.source.clear_cache()
        if event.detail1 == 1 and event.source.get_role_name() == "alert":
            name = event.source.get_name()
            missing.difference_update([one for one in missing if fnmatch.fnmatchcase(name, one)])
        if not missing:
            Atspi.event_quit()

    listener = Atspi.EventListener.new(told)
    listener.register("object:state-changed:showing")
    GLib.timeout_add_seconds(int(os.environ["PATIENCE"]), Atspi.event_quit)
    print("listening", flush=True)
    Atspi.event_main()
    if missing:
        sys.exit(f"not heard: {sorted(missing)}")


def main(command, *words):
    Atspi.set_timeout(5000, 15000)
    Atspi.init()
    if command == "labels":
        print("\n".join(part.get_name() for part in showing() if part.get_role_name() == "label"))
    elif command == "hear":
        hear(words)
    elif command == "controls":
        for fault in controls():
            print(fault)
    elif command == "gone":
        wait_for(lambda: not find(words[0], words[1], []), f"no {words[0]} '{words[1]}'")
    else:
        wanted = list(words[2:]) if command == "see" else ["sensitive"]
        part = wait_for(lambda: find(words[0], words[1], wanted), " ".join(words[:2] + tuple(wanted)))
        if command == "place":
            area = part.get_extents(Atspi.CoordType.SCREEN)
            print(area.x + area.width // 2, area.y + area.height // 2)
        elif command == "press":
            part.do_action(0)
        elif command == "read":
            print(text_of(part))
        elif command == "write":
            with open(words[2], encoding="utf-8", newline="") as file:
                text = file.read()
            Atspi.EditableText.insert_text(part, 0, text, len(text.encode("utf-16-le")) // 2)


main(*sys.argv[1:])
