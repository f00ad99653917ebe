#!/usr/bin/python3
"""Presses a shortcut named as the application logs it ("Ctrl+Alt+Space")
through XTEST and prints the time (ms since the epoch) at which its last key
went down: the moment the shortcut fires, without the start-up of a
separate program such as xdotool (100 ms and more on a busy machine) in it.
Usage: press_shortcut.py SHORTCUT"""
import ctypes
import sys
import time

x11 = ctypes.CDLL("libX11.so.6")
xtst = ctypes.CDLL("libXtst.so.6")
x11.XOpenDisplay.restype = ctypes.c_void_p
x11.XOpenDisplay.argtypes = [ctypes.c_char_p]
x11.XStringToKeysym.restype = ctypes.c_ulong
x11.XStringToKeysym.argtypes = [ctypes.c_char_p]
x11.XKeysymToKeycode.restype = ctypes.c_ubyte
x11.XKeysymToKeycode.argtypes = [ctypes.c_void_p, ctypes.c_ulong]
x11.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
x11.XCloseDisplay.argtypes = [ctypes.c_void_p]
xtst.XTestFakeKeyEvent.argtypes = [ctypes.c_void_p, ctypes.c_uint, ctypes.c_int, ctypes.c_ulong]

display = x11.XOpenDisplay(None)
if not display:
    sys.exit("no X display")
modifiers = {"Ctrl": "Control_L", "Alt": "Alt_L", "Shift": "Shift_L", "Super": "Super_L"}


def keycode(name):
    keysym = modifiers.get(name) or ("space" if name == "Space" else name.lower())
    code = x11.XKeysymToKeycode(display, x11.XStringToKeysym(keysym.encode()))
    if not code:
        sys.exit(f"no key for {name}")
    return code


codes = [keycode(name) for name in sys.argv[1].split("+")]


def key(code, down):
    xtst.XTestFakeKeyEvent(display, code, down, 0)


for code in codes[:-1]:
    key(code, True)
x11.XSync(display, 0)
pressed = time.time()
key(codes[-1], True)
x11.XSync(display, 0)
for code in reversed(codes):
    key(code, False)
x11.XSync(display, 0)
x11.XCloseDisplay(display)
print(int(pressed * 1000))
