#!/usr/bin/env bash
# Whole-process benchmark of the download history: melodrift's start-up to its
# window shown with 10,000 rows in the history against an empty one (runs
# alternating; goal: no more than 10% slower), then the Downloads view opened in
# the real window with each (goal: under 50 ms), right at the start and at rest.
#   bench/history_startup.sh [build-dir] [runs]
set -euo pipefail
build=$(realpath "${1:-build}")
runs=${2:-10}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Each home's store is made by the program itself, then filled outside it.
for name in empty full; do
  mkdir -p "$work/$name"
  HOME=$work/$name XDG_DATA_HOME=$work/$name/.local/share "$build/src/app/melodrift-cli" history >/dev/null
done
/usr/bin/python3 - "$work/full/.local/share/Melodrift/Melodrift/history.sqlite" <<'PY'
import sqlite3, sys, time
db = sqlite3.connect(sys.argv[1])
now = int(time.time() * 1000)
rows = []
for i in range(10000):
    audio = i % 2
    title = "Video number %d with a title of ordinary length" % i
    state = ("done", "done", "done", "failed", "canceled")[i % 5]
    rows.append((now - (10000 - i) * 60000, now - (10000 - i) * 60000 + 9000, audio, "MP3" if audio else "MP4",
                 title, "http://127.0.0.1:9/watch?v=%d" % i, "/nowhere/%s.%s" % (title, "mp3" if audio else "mp4"),
                 4200000 if state == "done" else -1, state, "The server answered with status 500." if state == "failed" else ""))
db.executemany("INSERT INTO downloads (added, ended, audio, kind, title, link, file, size, state, reason) "
               "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)", rows)
db.commit()
print("history rows:", db.execute("SELECT COUNT(*) FROM downloads").fetchone()[0], file=sys.stderr)
PY

env_of() { echo "env HOME=$work/$1 XDG_CONFIG_HOME=$work/$1/.config XDG_CACHE_HOME=$work/$1/.cache XDG_DATA_HOME=$work/$1/.local/share"; }
echo "== start-up to the window shown"
# No service behind this address: the window needs none to open.
xvfb-run -a -s "-screen 0 1280x900x24 -noreset" dbus-run-session -- /usr/bin/python3 "$(dirname "$0")/startup_timer.py" "$runs" \
  "full=$(env_of full) $build/src/app/melodrift --service http://127.0.0.1:9" \
  "empty=$(env_of empty) $build/src/app/melodrift --service http://127.0.0.1:9"

echo "== the Downloads view opened (ms): at the start, at rest; rows held"
for name in empty full; do
  rows=0; [ "$name" = full ] && rows=10000
  for _ in $(seq "$runs"); do
    # shellcheck disable=SC2046
    HISTORY_ROWS=$rows xvfb-run -a -s "-screen 0 1280x900x24" $(env_of "$name") "$build/bench/history_view_driver"
  done 2>/dev/null | /usr/bin/python3 -c '
import statistics, sys
rows = [line.split() for line in sys.stdin if line.strip()]
start = statistics.median(float(r[0]) for r in rows)
rest = statistics.median(float(r[1]) for r in rows)
print("%-6s at the start %6.1f ms, at rest %6.1f ms (medians of %d; %s rows held)" % (sys.argv[1], start, rest, len(rows), rows[-1][2]))' "$name"
done
