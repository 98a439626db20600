#!/usr/bin/env bash
# Runs one desktop end-to-end script on a display of its own (Xvfb), with a
# session bus and the accessibility bus a screen reader would use.
#   run.sh SCRIPT MELODRIFT SERVICE CATALOGUE SCREENSHOTS
set -euo pipefail
script=$1
export MELODRIFT_BINARY=$2 MELODRIFT_SERVICE_BINARY=$3 MELODRIFT_CATALOGUE=$4 MELODRIFT_SCREENSHOTS=$5
# No run reaches a real release server: a script that wants releases serves its own.
export MELODRIFT_YTDLP_RELEASES=${MELODRIFT_YTDLP_RELEASES:-http://127.0.0.1:9/}
export MELODRIFT_DENO_RELEASES=${MELODRIFT_DENO_RELEASES:-http://127.0.0.1:9/}
export PYTHONPATH="$(dirname "$0")${PYTHONPATH:+:$PYTHONPATH}"
exec "$(dirname "$0")/../../support/xvfb.sh" "-screen 0 1280x900x24" dbus-run-session -- bash -c '
  /usr/libexec/at-spi-bus-launcher --launch-immediately &
  launcher=$!
  trap "kill $launcher 2>/dev/null" EXIT
  /usr/bin/python3 -W ignore::DeprecationWarning "$0"' "$script"
