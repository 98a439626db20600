#!/usr/bin/env bash
# Whole-process benchmark: the peak memory of a search through melodrift-cli whose
# 25 thumbnails are each a PNG of some 100 KB that declares 5600 x 5600 pixels
# (melodrift-service --hostile); decoded whole, each would take 120 MB.
# Goal: under 300 MiB. Prints each run's peak and the median.
#   bench/hostile_search_memory.sh [build-dir] [runs]
set -euo pipefail
build=${1:-build}
runs=${2:-5}
service_bin="$build/service/melodrift-service"
cli="$build/src/app/melodrift-cli"
catalogue="$(cd "$(dirname "$0")/.." && pwd)/build-catalogue"

work=$(mktemp -d)
echo "not a secret" > "$work/secret"
"$service_bin" --data "$catalogue" --hostile "$work/secret" --feed-size 25 > "$work/base" 2>/dev/null &
pid=$!
trap 'kill "$pid" 2>/dev/null; wait "$pid" 2>/dev/null; rm -rf "$work"' EXIT
until [ -s "$work/base" ]; do sleep 0.2; done
base=$(head -n1 "$work/base")

peaks=()
for _ in $(seq "$runs"); do
  /usr/bin/time -f %M -o "$work/rss" "$cli" --service "$base" search bomb > "$work/out"
  [ "$(grep -c 'Bomb Picture' "$work/out")" -eq 25 ] || { echo "the search did not list 25 results" >&2; exit 1; }
  peaks+=("$(cat "$work/rss")")
  echo "peak RSS: $(( $(cat "$work/rss") / 1024 )) MiB"
done
median=$(printf '%s\n' "${peaks[@]}" | sort -n | sed -n "$(( (runs + 1) / 2 ))p")
echo "median peak RSS of $runs searches of 25 picture bombs: $(( median / 1024 )) MiB (goal: under 300)"
