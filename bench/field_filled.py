#!/usr/bin/python3
"""Prints the time (ms since the epoch) at which a field first holds text.
Usage: field_filled.py APP FIELD TIMEOUT_S"""
import sys
import time

sys.path.insert(0, sys.argv[0].rsplit("/", 2)[0] + "/tests/harness")
import atspi_probe  # noqa: E402

app, name, timeout = sys.argv[1], sys.argv[2], float(sys.argv[3])
text = atspi_probe.field(app, name).get_text_iface()
print("watching", flush=True)
deadline = time.time() + timeout
while time.time() < deadline:
    if text.get_character_count() > 0:
        print(int(time.time() * 1000), flush=True)
        sys.exit(0)
    time.sleep(0.002)
sys.exit("timed out")
