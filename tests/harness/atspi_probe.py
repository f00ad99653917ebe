#!/usr/bin/python3
"""Reads and drives the harness's target applications through AT-SPI.

  atspi_probe.py wait APP            until APP is on the accessibility desktop
  atspi_probe.py focus APP FIELD     gives FIELD of APP keyboard focus
  atspi_probe.py text APP FIELD      prints the text of FIELD
  atspi_probe.py clear APP FIELD     empties FIELD
  atspi_probe.py pid APP             prints the process id of APP
  atspi_probe.py focused APP FIELD   succeeds when FIELD of APP has keyboard focus
  atspi_probe.py shown PID           prints ROLE<tab>NAME of each named element
                                     in the showing windows of process PID
  atspi_probe.py centre PID NAME     prints the screen position "X Y" of the
                                     middle of the showing element NAME of PID
  atspi_probe.py active              prints PID<tab>TITLE of the active window
                                     (the one with the keyboard), fails if none
  atspi_probe.py kind APP FIELD      prints ROLE<tab>INTERFACES of FIELD
APP is the application's window title (its application id).
Under Wayland the accessibility layer is the only one that tells which window
is active: the compositor keeps that to itself.
"""
import sys
import time

import warnings

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

warnings.simplefilter("ignore", DeprecationWarning)


def find_app(title):
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        app = desktop.get_child_at_index(i)
        if app is None:
            continue
        for j in range(app.get_child_count()):
            window = app.get_child_at_index(j)
            if window is not None and window.get_name() == title:
                return app, window
    return None, None


def find_named(node, name, depth=0):
    if node is None or depth > 12:
        return None
    if node.get_name() == name and node.get_role() != Atspi.Role.FRAME:
        return node
    for i in range(node.get_child_count()):
        found = find_named(node.get_child_at_index(i), name, depth + 1)
        if found is not None:
            return found
    return None


def field(title, name):
    _, window = find_app(title)
    if window is None:
        sys.exit(f"no application {title}")
    node = find_named(window, name)
    if node is None:
        sys.exit(f"no field {name}")
    return node


def app_of_process(pid):
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        app = desktop.get_child_at_index(i)
        if app is not None and app.get_process_id() == pid:
            return app
    return None


def find_showing(node, name, depth=0):
    if node is None or depth > 16:
        return None
    if depth > 0 and not node.get_state_set().contains(Atspi.StateType.SHOWING):
        return None
    if node.get_name() == name and depth > 1:
        return node
    for i in range(node.get_child_count()):
        found = find_showing(node.get_child_at_index(i), name, depth + 1)
        if found is not None:
            return found
    return None


def print_named(node, depth=0):
    if node is None or depth > 16:
        return
    states = node.get_state_set()
    if not states.contains(Atspi.StateType.SHOWING):
        return
    name = node.get_name()
    if name:
        print(f"{node.get_role_name()}\t{name}")
    for i in range(node.get_child_count()):
        print_named(node.get_child_at_index(i), depth + 1)


def active_window():
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        app = desktop.get_child_at_index(i)
        if app is None:
            continue
        for j in range(app.get_child_count()):
            window = app.get_child_at_index(j)
            if window is not None and window.get_state_set().contains(Atspi.StateType.ACTIVE):
                return app, window
    return None, None


def main():
    command, title = sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else ""
    if command == "active":
        app, window = active_window()
        if window is None:
            sys.exit("no window is active")
        print(f"{app.get_process_id()}\t{window.get_name()}")
        return
    if command == "wait":
        deadline = time.time() + 10
        while time.time() < deadline:
            if find_app(title)[1] is not None:
                return
            time.sleep(0.05)
        sys.exit(f"{title} did not appear")
    elif command == "pid":
        app, _ = find_app(title)
        print(app.get_process_id())
    elif command == "focus":
        node = field(title, sys.argv[3])
        node.get_component_iface().grab_focus()
        deadline = time.time() + 15
        while not node.get_state_set().contains(Atspi.StateType.FOCUSED):
            if time.time() > deadline:
                sys.exit(f"{sys.argv[3]} did not take focus")
            time.sleep(0.02)
    elif command == "focused":
        node = field(title, sys.argv[3])
        if not node.get_state_set().contains(Atspi.StateType.FOCUSED):
            sys.exit(f"{sys.argv[3]} does not have focus")
    elif command == "shown":
        app = app_of_process(int(title))
        if app is None:
            sys.exit(f"no accessible application with process {title}")
        for i in range(app.get_child_count()):
            print_named(app.get_child_at_index(i))
    elif command == "centre":
        app = app_of_process(int(title))
        node = find_showing(app, sys.argv[3]) if app is not None else None
        if node is None:
            sys.exit(f"no showing element {sys.argv[3]} in process {title}")
        box = node.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
        print(box.x + box.width // 2, box.y + box.height // 2)
    elif command == "clear":
        node = field(title, sys.argv[3])
        node.get_editable_text_iface().set_text_contents("")
    elif command == "kind":
        node = field(title, sys.argv[3])
        print(f"{node.get_role_name()}\t{','.join(node.get_interfaces())}")
    elif command == "text":
        node = field(title, sys.argv[3])
        text = node.get_text_iface()
        print(text.get_text(0, text.get_character_count()))


if __name__ == "__main__":
    main()
