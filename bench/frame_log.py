#!/usr/bin/python3
"""Reads the per-frame lines Qt Quick's render loop logs (QSG_RENDER_TIMING=1,
category qt.scenegraph.time.renderloop, QT_MESSAGE_PATTERN starting with
"%{time yyyy-MM-ddTHH:mm:ss.zzz} ") and weighs them against input events
(lines "NAME MS", ms since the epoch, as xtest_input.py prints them).

  frame_log.py inputs LOG EVENTS LIMIT LABEL latency|work [--gaps]
      per input event, the time to the end of the first frame after it
      (latency), and the GUI thread's work in each frame from the first
      event until 300 ms after the last (polish, sync, render and swap, as
      the render loop counts them); the one named is judged against LIMIT
      ms. --gaps: also the longest gap between two of those frames, for
      inputs that come faster than LIMIT.
  frame_log.py first LOG AFTER_MS   the end of the first frame at or after AFTER_MS
  frame_log.py settle LOG           returns once the window draws no more than
                                    a blinking cursor does (at most 20 s)"""
import datetime
import re
import statistics
import sys
import time

FRAME = re.compile(
    r"^(\S+) .*renderloop.*?in (\d+)ms, polish=(\d+), sync=(\d+), render=(\d+), swap=(\d+), "
    r"(?:perWindowFrameDelta|frameDelta)=(\d+)")


def frames(path):
    found = []
    with open(path, errors="replace") as log:
        for line in log:
            match = FRAME.match(line)
            if not match:
                continue
            when = datetime.datetime.fromisoformat(match.group(1)).timestamp() * 1000
            total, polish, sync, render, swap, delta = (int(g) for g in match.groups()[1:])
            found.append({"end": when, "total": total, "polish": polish, "sync": sync,
                          "render": render, "swap": swap, "delta": delta})
    return found


def events(path):
    with open(path) as lines:
        return [float(line.split()[1]) for line in lines if line.strip()]


def verdict(value, limit):
    return "PASS" if value <= limit else "MISS"


def inputs(log, event_file, limit, label, judged, with_gaps):
    all_frames = frames(log)
    stamps = events(event_file)
    if not stamps:
        sys.exit("no input events")
    latencies, work = [], []
    for stamp in stamps:
        # Log stamps have whole milliseconds; an event in the same one counts.
        after = next((f for f in all_frames if f["end"] >= stamp - 1), None)
        if after is None:
            sys.exit(f"{label}: no frame followed the input at {stamp:.0f}")
        latencies.append(max(0.0, after["end"] - stamp))
        work.append(after["total"])
    span = [f for f in all_frames if stamps[0] <= f["end"] <= stamps[-1] + 300]
    gaps = [b["end"] - a["end"] for a, b in zip(span, span[1:])]
    totals = [f["total"] for f in span]
    print(f"{label}: {len(stamps)} inputs, {len(span)} frames")
    judge = {"latency": max(latencies), "work": max(totals)}
    mark = {k: f" (limit {limit:.0f}) {verdict(v, limit)}" if k == judged else ""
            for k, v in judge.items()}
    print(f"  input to frame: median {statistics.median(latencies):.0f} ms, "
          f"worst {max(latencies):.0f} ms{mark['latency']}")
    print(f"  frame work (polish+sync+render+swap): median {statistics.median(totals):.0f} ms, "
          f"worst {max(totals)} ms{mark['work']}; in the frames answering an input worst "
          f"{max(work)} ms")
    if with_gaps and gaps:
        print(f"  longest gap between frames: {max(gaps):.0f} ms "
              f"(limit {limit:.0f}) {verdict(max(gaps), limit)}")
    worst = max(span, key=lambda f: f["total"]) if span else None
    if worst:
        print(f"  slowest frame: polish {worst['polish']}, sync {worst['sync']}, "
              f"render {worst['render']}, swap {worst['swap']} ms")


def settle(log):
    # At rest a window draws nothing, or only a cursor blinking every 500 ms.
    deadline = time.time() + 20
    while time.time() < deadline:
        found = frames(log)
        now = time.time() * 1000
        quiet = now - found[-1]["end"] if found else now
        if quiet >= 600 or (quiet >= 300 and len(found) >= 2 and
                            found[-1]["end"] - found[-2]["end"] >= 300):
            return
        time.sleep(0.1)
    print("note: the window did not come to rest within 20 s", file=sys.stderr)


def main():
    command = sys.argv[1] if len(sys.argv) > 1 else ""
    if command == "inputs" and len(sys.argv) in (7, 8) and sys.argv[6] in ("latency", "work"):
        inputs(sys.argv[2], sys.argv[3], float(sys.argv[4]), sys.argv[5], sys.argv[6],
               sys.argv[7:] == ["--gaps"])
    elif command == "first" and len(sys.argv) == 4:
        after = float(sys.argv[3])
        frame = next((f for f in frames(sys.argv[2]) if f["end"] >= after - 1), None)
        if frame is None:
            sys.exit(1)
        print(f"{frame['end']:.0f}")
    elif command == "settle" and len(sys.argv) == 3:
        settle(sys.argv[2])
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
