#!/usr/bin/env bash
# Whole-process benchmark: from the start of melodrift to its main window shown
# on Xvfb, against a bare Qt Widgets program that shows an empty window, runs
# alternating, and each program's memory at rest; also tells whether the web
# engine was loaded (it should not be before the first preview). Goal: melodrift
# shown in at most twice the bare window's time.
#   bench/desktop_startup.sh [build-dir] [runs]
set -euo pipefail
build=$(realpath "${1:-build}")
runs=${2:-10}
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export HOME=$home XDG_CONFIG_HOME=$home/.config XDG_CACHE_HOME=$home/.cache
# No service behind this address: the window needs none to open.
# Inside a session bus, as on a desktop.
xvfb-run -a -s "-screen 0 1280x900x24 -noreset" dbus-run-session -- /usr/bin/python3 "$(dirname "$0")/startup_timer.py" "$runs" \
  "melodrift=$build/src/app/melodrift --service http://127.0.0.1:9" \
  "bare=$build/bench/bare_window"
