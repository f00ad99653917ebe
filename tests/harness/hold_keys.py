#!/usr/bin/python3
"""Holds a key combination down through the RemoteDesktop portal.

  hold_keys.py SECONDS COMBO    presses COMBO (such as ctrl+alt+d), waits, releases it

Built on the harness's portal_keys, which presses and releases at once.
"""
import os
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import portal_keys  # noqa: E402


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    seconds, combination = float(sys.argv[1]), sys.argv[2]
    session = portal_keys.Session()
    syms = [portal_keys.keysym(part) for part in combination.split("+")]
    for sym in syms:
        session.key(sym, portal_keys.PRESSED)
    time.sleep(seconds)
    for sym in reversed(syms):
        session.key(sym, portal_keys.RELEASED)
    session.close()


if __name__ == "__main__":
    main()
