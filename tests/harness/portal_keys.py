#!/usr/bin/python3
"""Presses keys through the RemoteDesktop portal, the way a test on KWin types.

  portal_keys.py type TEXT        types TEXT, one keysym a character
  portal_keys.py press COMBO...   presses each combination in turn, such as
                                  ctrl+alt+d, ctrl+shift+v, Return, shift+Insert
Names in a combination are ctrl, shift, alt, super or X key names (Return,
Insert, Escape, F5, plus...); a single character stands for itself.

Each run opens a remote-desktop session with a keyboard, sends its keys and
closes the session; on KDE the session starts without asking the user.
KWin 5.27 types only what its keyboard layout has: with "us", ö and é are
dropped without a word, so tests type accented text some other way.
"""
import sys

import dbus
import dbus.mainloop.glib
import gi

gi.require_version("Gdk", "3.0")
from gi.repository import Gdk, GLib  # noqa: E402

PORTAL = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
REMOTE = "org.freedesktop.portal.RemoteDesktop"
KEYBOARD = 1
PRESSED, RELEASED = 1, 0
MODIFIERS = {"ctrl": "Control_L", "shift": "Shift_L", "alt": "Alt_L", "super": "Super_L"}


class PortalError(Exception):
    pass


def keysym(name):
    if name.lower() in MODIFIERS:
        name = MODIFIERS[name.lower()]
    if len(name) == 1:
        return Gdk.unicode_to_keyval(ord(name))
    value = Gdk.keyval_from_name(name)
    if value in (0, Gdk.KEY_VoidSymbol):
        raise PortalError(f"unknown key {name}")
    return value


class Session:
    """A remote-desktop session with a keyboard, open while the object lives."""

    def __init__(self, timeout=20):
        dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
        self.bus = dbus.SessionBus()
        self.portal = dbus.Interface(self.bus.get_object(PORTAL, PATH), REMOTE)
        self.timeout = timeout
        self.counter = 0
        results = self.request(self.portal.CreateSession,
                               {"session_handle_token": f"parlevo_test_{id(self)}"})
        self.handle = dbus.ObjectPath(results["session_handle"])
        self.request(self.portal.SelectDevices, self.handle,
                     {"types": dbus.UInt32(KEYBOARD)})
        results = self.request(self.portal.Start, self.handle, "", {})
        if not int(results.get("devices", 0)) & KEYBOARD:
            raise PortalError("the remote-desktop session was started without a keyboard")

    def request(self, method, *args):
        """Calls a portal method that answers with a Request's Response signal."""
        self.counter += 1
        token = f"parlevo_keys_{self.counter}"
        sender = self.bus.get_unique_name()[1:].replace(".", "_")
        path = f"{PATH}/request/{sender}/{token}"
        answer = {}
        loop = GLib.MainLoop()

        def on_response(code, results):
            answer["code"], answer["results"] = int(code), results
            loop.quit()

        # Subscribed before the call, so that a quick answer is not missed.
        match = self.bus.add_signal_receiver(on_response, "Response",
                                             "org.freedesktop.portal.Request", PORTAL, path)
        options = dict(args[-1])
        options["handle_token"] = token
        method(*args[:-1], options)
        GLib.timeout_add_seconds(self.timeout, loop.quit)
        loop.run()
        match.remove()
        if "code" not in answer:
            raise PortalError(f"no answer from the portal to {method._method_name}")
        if answer["code"] != 0:
            raise PortalError(f"the portal refused {method._method_name} ({answer['code']})")
        return answer["results"]

    def key(self, sym, state):
        self.portal.NotifyKeyboardKeysym(self.handle, {}, dbus.Int32(sym), dbus.UInt32(state))

    def press(self, combination):
        syms = [keysym(part) for part in combination.split("+")]
        for sym in syms:
            self.key(sym, PRESSED)
        for sym in reversed(syms):
            self.key(sym, RELEASED)

    def close(self):
        # The calls above are asynchronous on the compositor's side: a round
        # trip through the portal lets them all arrive before the session ends.
        self.bus.get_object(PORTAL, PATH).Get(REMOTE, "version",
                                              dbus_interface="org.freedesktop.DBus.Properties")
        session = dbus.Interface(self.bus.get_object(PORTAL, self.handle),
                                 "org.freedesktop.portal.Session")
        session.Close()


def main():
    if len(sys.argv) < 3 or sys.argv[1] not in ("type", "press"):
        sys.exit(__doc__)
    try:
        session = Session()
        if sys.argv[1] == "type":
            named = {"+": "plus", "\n": "Return", "\t": "Tab"}
            for character in sys.argv[2]:
                session.press(named.get(character, character))
        else:
            for combination in sys.argv[2:]:
                session.press(combination)
        session.close()
    except (PortalError, dbus.DBusException) as error:
        sys.exit(f"portal_keys: {error}")


if __name__ == "__main__":
    main()
