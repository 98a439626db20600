"""Starts programs on the current X display and times each from its start to
the moment its first titled window is mapped; then, with the program at rest,
reads its memory and whether it has loaded the web engine. Runs alternate
between the programs, so that both see the same machine.

    startup_timer.py RUNS NAME=COMMAND...
"""
import shlex
import statistics
import subprocess
import sys
import time

from Xlib import X, display


def one_run(d, command):
    start = time.monotonic()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    shown = None
    while shown is None:
        event = d.next_event()
        if event.type == X.MapNotify:
            try:
                if event.window.get_wm_name():
                    shown = time.monotonic() - start
            except Exception:
                pass
    time.sleep(2.0)  # at rest
    status = open("/proc/%d/status" % process.pid).read()
    memory = {line.split(":")[0]: int(line.split()[1]) for line in status.splitlines()
              if line.startswith(("VmHWM", "VmRSS"))}
    maps = open("/proc/%d/maps" % process.pid).read()
    engine = "WebEngine" in maps
    process.terminate()
    process.wait()
    return shown, memory, engine


def main():
    runs = int(sys.argv[1])
    programs = [arg.split("=", 1) for arg in sys.argv[2:]]
    results = {name: [] for name, _ in programs}
    # One connection for all runs, so that the server never sees its last client go.
    d = display.Display()
    d.screen().root.change_attributes(event_mask=X.SubstructureNotifyMask)
    d.sync()
    for name, command in programs:  # warm-up: file caches, font caches
        one_run(d, shlex.split(command))
    for _ in range(runs):
        for name, command in programs:
            results[name].append(one_run(d, shlex.split(command)))
    medians = {}
    print("%-10s %8s %8s %8s %12s %12s %s" % ("program", "median", "min", "max", "peak RSS", "RSS at rest", "web engine"))
    for name, rows in results.items():
        times = [r[0] * 1000 for r in rows]
        medians[name] = statistics.median(times)
        print("%-10s %6.0f ms %5.0f ms %5.0f ms %9.1f MiB %9.1f MiB %s" % (
            name, medians[name], min(times), max(times),
            statistics.median(r[1]["VmHWM"] for r in rows) / 1024,
            statistics.median(r[1]["VmRSS"] for r in rows) / 1024,
            "loaded" if any(r[2] for r in rows) else "not loaded"))
    names = list(results)
    if len(names) == 2:
        print("%s / %s: %.2f x" % (names[0], names[1], medians[names[0]] / medians[names[1]]))


main()
