#!/usr/bin/python3
"""Prints the time (ms since the epoch) at which a field's text first ends
with the expected text. Usage: field_watch.py APP FIELD EXPECTED_FILE TIMEOUT_S"""
import sys
import time
import warnings

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

warnings.simplefilter("ignore", DeprecationWarning)
sys.path.insert(0, sys.argv[0].rsplit("/", 2)[0] + "/tests/harness")
import atspi_probe  # noqa: E402

app, name, expected_file, timeout = sys.argv[1], sys.argv[2], sys.argv[3], float(sys.argv[4])
expected = open(expected_file, encoding="utf-8").read()
text = atspi_probe.field(app, name).get_text_iface()
print("watching", flush=True)
deadline = time.time() + timeout
while time.time() < deadline:
    count = text.get_character_count()
    if count >= len(expected) and text.get_text(count - len(expected), count) == expected:
        print(int(time.time() * 1000), flush=True)
        sys.exit(0)
    time.sleep(0.002)
sys.exit("timed out")
