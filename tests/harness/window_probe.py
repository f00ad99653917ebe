#!/usr/bin/python3
"""Finds and drives the controls of an application's windows over AT-SPI, by
role and name, as a screen reader user would.

  window_probe.py tree PID                  ROLE<tab>NAME<tab>STATES of each showing element
  window_probe.py wait PID ROLE NAME [S]    until a showing ROLE named NAME exists (S seconds)
  window_probe.py gone PID ROLE NAME [S]    until none shows
  window_probe.py press PID ROLE NAME       its first action (press, toggle, click)
  window_probe.py focus PID ROLE NAME       gives it keyboard focus
  window_probe.py text PID ROLE NAME        prints its text (or its name)
  window_probe.py checked PID ROLE NAME     prints true or false
  window_probe.py names PID ROLE            prints the name of each showing ROLE
  window_probe.py centre PID ROLE NAME      prints "X Y", the middle of it on the screen
Options after the arguments: --within ROLE TEXT looks only inside the first
showing ROLE whose name contains TEXT; --contains matches NAME as a part of
the element's name. ROLE is the AT-SPI role name ("push button", "check box",
"text", "page tab", "list item"), or "any".
"""
import sys
import time
import warnings

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

warnings.simplefilter("ignore", DeprecationWarning)


def application(pid):
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        app = desktop.get_child_at_index(i)
        if app is not None and app.get_process_id() == pid:
            return app
    return None


def showing(node):
    # Visible rather than on the screen: a control scrolled out of view is
    # still one Tab away, as for a person using the keyboard.
    try:
        return node.get_state_set().contains(Atspi.StateType.VISIBLE)
    except Exception:  # an element gone while walking
        return False


def walk(node, depth=0):
    if node is None or depth > 40:
        return
    if depth > 1 and not showing(node):
        return
    yield node
    try:
        count = node.get_child_count()
    except Exception:
        return
    for i in range(count):
        yield from walk(node.get_child_at_index(i), depth + 1)


def role_of(node):
    try:
        return node.get_role_name()
    except Exception:
        return ""


def name_of(node):
    try:
        return node.get_name() or ""
    except Exception:
        return ""


def find(root, role, name, contains=False):
    for node in walk(root):
        if role not in ("any", role_of(node)):
            continue
        n = name_of(node)
        if (contains and name in n) or n == name:
            return node
    return None


def scope(pid, options):
    app = application(pid)
    if app is None:
        return None
    if "--within" in options:
        i = options.index("--within")
        within_role, within_text = options[i + 1], options[i + 2]
        return find(app, within_role, within_text, contains=True)
    return app


def locate(pid, role, name, options, seconds=10.0):
    deadline = time.time() + seconds
    while True:
        root = scope(pid, options)
        node = find(root, role, name, "--contains" in options) if root is not None else None
        if node is not None:
            return node
        if time.time() > deadline:
            shown = []
            app = application(pid)
            if app is not None:
                shown = [f"{role_of(n)}:{name_of(n)}" for n in walk(app) if name_of(n)]
            sys.exit(f"no showing {role} '{name}' in process {pid}; showing: " + " | ".join(shown))
        time.sleep(0.05)


def text_of(node):
    try:
        text = node.get_text_iface()
        if text is not None:
            return text.get_text(0, text.get_character_count())
    except Exception:
        pass
    return name_of(node)


def main():
    command, pid = sys.argv[1], int(sys.argv[2])
    args = sys.argv[3:]
    options = [a for a in args if a.startswith("--")]
    # Options and their values come after the positional arguments.
    first_option = next((i for i, a in enumerate(args) if a.startswith("--")), len(args))
    options = args[first_option:]
    args = args[:first_option]
    if command == "tree":
        app = application(pid)
        if app is None:
            sys.exit(f"no accessible application with process {pid}")
        for node in walk(app):
            states = node.get_state_set()
            marks = [s for s, t in (("focused", Atspi.StateType.FOCUSED),
                                    ("checked", Atspi.StateType.CHECKED),
                                    ("selected", Atspi.StateType.SELECTED))
                     if states.contains(t)]
            print(f"{role_of(node)}\t{name_of(node)}\t{','.join(marks)}")
    elif command == "wait":
        locate(pid, args[0], args[1], options, float(args[2]) if len(args) > 2 else 10.0)
    elif command == "gone":
        deadline = time.time() + (float(args[2]) if len(args) > 2 else 10.0)
        while True:
            root = scope(pid, options)
            if root is None or find(root, args[0], args[1], "--contains" in options) is None:
                return
            if time.time() > deadline:
                sys.exit(f"{args[0]} '{args[1]}' still shows")
            time.sleep(0.05)
    elif command == "press":
        node = locate(pid, args[0], args[1], options)
        action = node.get_action_iface()
        if action is None or action.get_n_actions() == 0:
            sys.exit(f"{args[0]} '{args[1]}' has no action")
        # Qt lists "SetFocus" first for some roles; a person presses.
        names = [action.get_action_name(i).lower() for i in range(action.get_n_actions())]
        wanted = next((i for i, n in enumerate(names) if n in ("press", "click", "toggle", "activate")), None)
        if wanted is not None:
            action.do_action(wanted)
        else:
            # Tabs offer only focus, which chooses them.
            node.get_component_iface().grab_focus()
    elif command == "focus":
        node = locate(pid, args[0], args[1], options)
        node.get_component_iface().grab_focus()
        deadline = time.time() + 5
        while not node.get_state_set().contains(Atspi.StateType.FOCUSED):
            if time.time() > deadline:
                sys.exit(f"{args[0]} '{args[1]}' did not take focus")
            time.sleep(0.02)
    elif command == "text":
        print(text_of(locate(pid, args[0], args[1], options)))
    elif command == "checked":
        node = locate(pid, args[0], args[1], options)
        print("true" if node.get_state_set().contains(Atspi.StateType.CHECKED) else "false")
    elif command == "names":
        root = scope(pid, options)
        for node in walk(root) if root is not None else []:
            if role_of(node) == args[0] and name_of(node):
                print(name_of(node))
    elif command == "centre":
        node = locate(pid, args[0], args[1], options)
        box = node.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
        print(box.x + box.width // 2, box.y + box.height // 2)
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
