#!/usr/bin/python3
"""Types keys and turns the mouse wheel through XTEST, one event at a time,
and prints when each went in (ms since the epoch, after the X server took
it): the moments a frame's latency is counted from, without a program's
start-up in them.

  xtest_input.py type WORD PAUSE_MS [--erase]  each lowercase letter of WORD,
                                             then as many BackSpace
  xtest_input.py key KEYSYM COUNT PAUSE_MS   KEYSYM (BackSpace, Down, ...) COUNT times
  xtest_input.py wheel up|down COUNT PAUSE_MS X Y   with the pointer moved to X Y first

Each line printed is "NAME MS"; PAUSE_MS is the wait after each event."""
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
xtst.XTestFakeButtonEvent.argtypes = [ctypes.c_void_p, ctypes.c_uint, ctypes.c_int, ctypes.c_ulong]
xtst.XTestFakeMotionEvent.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_int, ctypes.c_int,
                                      ctypes.c_ulong]

display = x11.XOpenDisplay(None)
if not display:
    sys.exit("no X display")


def keycode(keysym):
    code = x11.XKeysymToKeycode(display, x11.XStringToKeysym(keysym.encode()))
    if not code:
        sys.exit(f"no key for {keysym}")
    return code


def stamp(name):
    print(name, round(time.time() * 1000), flush=True)


def press_key(keysym, pause):
    code = keycode(keysym)
    xtst.XTestFakeKeyEvent(display, code, True, 0)
    x11.XSync(display, 0)
    stamp(keysym)
    xtst.XTestFakeKeyEvent(display, code, False, 0)
    x11.XSync(display, 0)
    time.sleep(pause)


def turn_wheel(button, name, pause):
    xtst.XTestFakeButtonEvent(display, button, True, 0)
    x11.XSync(display, 0)
    stamp(name)
    xtst.XTestFakeButtonEvent(display, button, False, 0)
    x11.XSync(display, 0)
    time.sleep(pause)


def main():
    command = sys.argv[1] if len(sys.argv) > 1 else ""
    if command == "type" and len(sys.argv) in (4, 5) and sys.argv[4:] in ([], ["--erase"]):
        pause = int(sys.argv[3]) / 1000
        for letter in sys.argv[2]:
            press_key(letter, pause)
        for _ in sys.argv[2] if sys.argv[4:] else []:
            press_key("BackSpace", pause)
    elif command == "key" and len(sys.argv) == 5:
        for _ in range(int(sys.argv[3])):
            press_key(sys.argv[2], int(sys.argv[4]) / 1000)
    elif command == "wheel" and len(sys.argv) == 7 and sys.argv[2] in ("up", "down"):
        xtst.XTestFakeMotionEvent(display, -1, int(sys.argv[5]), int(sys.argv[6]), 0)
        x11.XSync(display, 0)
        button = 4 if sys.argv[2] == "up" else 5
        for _ in range(int(sys.argv[3])):
            turn_wheel(button, "wheel-" + sys.argv[2], int(sys.argv[4]) / 1000)
    else:
        sys.exit(__doc__)
    x11.XCloseDisplay(display)


if __name__ == "__main__":
    main()
