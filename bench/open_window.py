#!/usr/bin/python3
"""Asks the running application PID for its main window and waits until the
window is mapped, watching the root window's map notices, so the moment is
not left to a poll. Prints "requested MS" and "mapped MS" (ms since the
epoch).

  open_window.py PID    calls ShowWindow on the copy's bus name, as a second
                        launch that defers to it does"""
import ctypes
import select
import subprocess
import sys
import time

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

x11 = ctypes.CDLL("libX11.so.6")
x11.XOpenDisplay.restype = ctypes.c_void_p
x11.XOpenDisplay.argtypes = [ctypes.c_char_p]
x11.XDefaultRootWindow.restype = ctypes.c_ulong
x11.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
x11.XSelectInput.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_long]
x11.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
x11.XPending.argtypes = [ctypes.c_void_p]
x11.XNextEvent.argtypes = [ctypes.c_void_p, ctypes.c_void_p]
x11.XConnectionNumber.argtypes = [ctypes.c_void_p]
x11.XCloseDisplay.argtypes = [ctypes.c_void_p]

substructure_notify_mask = 1 << 19
map_notify = 19
interface = "com.orvane.Parlevo.Application"
object_path = "/com/orvane/Parlevo"


def now():
    return time.time() * 1000


def shown(pid):
    return subprocess.run(["xdotool", "search", "--onlyvisible", "--pid", str(pid), "--name",
                           "^Parlevo$"], capture_output=True).returncode == 0


def instance_name(bus, pid):
    names = bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus",
                          "org.freedesktop.DBus", "ListNames", None, None,
                          Gio.DBusCallFlags.NONE, 2000, None).unpack()[0]
    for name in names:
        if not name.startswith("com.orvane.Parlevo.Instance"):
            continue
        owner = bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus",
                              "org.freedesktop.DBus", "GetConnectionUnixProcessID",
                              GLib.Variant("(s)", (name,)), None,
                              Gio.DBusCallFlags.NONE, 2000, None).unpack()[0]
        if owner == pid:
            return name
    sys.exit(f"process {pid} has no name on the session bus")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    pid = int(sys.argv[1])
    if shown(pid):
        sys.exit("the window is already shown")
    display = x11.XOpenDisplay(None)
    if not display:
        sys.exit("no X display")
    x11.XSelectInput(display, x11.XDefaultRootWindow(display), substructure_notify_mask)
    x11.XSync(display, 0)
    event = ctypes.create_string_buffer(192)
    bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)
    name = instance_name(bus, pid)
    requested = now()
    bus.call_sync(name, object_path, interface, "ShowWindow", None, None,
                  Gio.DBusCallFlags.NONE, 5000, None)
    mapped = None
    deadline = requested + 10000
    descriptor = x11.XConnectionNumber(display)
    while mapped is None and now() < deadline:
        if not x11.XPending(display):
            # Waits for the server; now and then looks anyway, in case a map
            # was missed (a window mapped inside one already mapped).
            if not select.select([descriptor], [], [], 0.2)[0]:
                if shown(pid):
                    mapped = now()
                continue
        x11.XNextEvent(display, event)
        seen = now()
        if ctypes.c_int.from_buffer(event).value == map_notify and shown(pid):
            mapped = seen
    x11.XCloseDisplay(display)
    if mapped is None:
        sys.exit("the window was not mapped within 10 s")
    print(f"requested {requested:.1f}")
    print(f"mapped {mapped:.1f}")


if __name__ == "__main__":
    main()
