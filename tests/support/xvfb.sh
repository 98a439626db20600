#!/usr/bin/env bash
# Runs a command on an Xvfb display of its own.
#   xvfb.sh "SERVER ARGUMENTS" COMMAND...
# Xvfb picks the free display itself (-displayfd): xvfb-run -a picks it by
# looking for lock files in /tmp, and two runs started together could both take
# :99, the later one's program then refused by the other's server.
set -euo pipefail
server_args=$1
shift
dir=$(mktemp -d -t melodrift-xvfb.XXXXXX)
xvfb=
trap '[ -z "$xvfb" ] || kill "$xvfb" 2>/dev/null; rm -rf "$dir"' EXIT
export XAUTHORITY=$dir/Xauthority
touch "$XAUTHORITY"
cookie=$(mcookie)
# The server takes every cookie in its file, whatever display it names; the
# clients look for one under the display's number, known once it runs.
xauth -q -f "$XAUTHORITY" add :0 . "$cookie"
mkfifo "$dir/display"
# -noreset: without it the server resets whenever its last client leaves (a
# helper that only set a property, say), and a program connecting just then is
# turned away.
# shellcheck disable=SC2086 # the server's arguments are words
Xvfb -displayfd 3 -nolisten tcp -noreset -auth "$XAUTHORITY" $server_args 3>"$dir/display" 2>"$dir/log" &
xvfb=$!
if ! read -r number < "$dir/display"; then
  cat "$dir/log" >&2
  exit 1
fi
xauth -q -f "$XAUTHORITY" add ":$number" . "$cookie"
export DISPLAY=:$number
set +e
"$@"
status=$?
exit $status
