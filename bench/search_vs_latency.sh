#!/usr/bin/env bash
# Whole-process benchmark: a search through melodrift-cli against melodrift-service,
# with 25 and 100 results, every thumbnail answered after 50 ms and with no delay.
# Every result's thumbnail is fetched while the feed is read.
# Goals: 25 results at 50 ms in at most 0.25 s, 100 at 50 ms in at most 1.0 s,
# and at 0 ms no slower than thumbnails fetched one after the other.
#   bench/search_vs_latency.sh [build-dir] [runs]
set -euo pipefail
build=${1:-build}
runs=${2:-10}
service_bin="$build/service/melodrift-service"
cli="$build/src/app/melodrift-cli"
command -v hyperfine >/dev/null || { echo "needs hyperfine (apt-get install hyperfine)" >&2; exit 1; }

for size in 25 100; do
  for latency in 50 0; do
    out=$(mktemp)
    "$service_bin" --feed-size "$size" --latency thumbnail=$latency > "$out" 2>/dev/null &
    pid=$!
    until [ -s "$out" ]; do sleep 0.2; done
    base=$(head -n1 "$out")
    count=$("$cli" --service "$base" search a | grep -c 'watch?v=')
    echo "== $count results, thumbnail latency ${latency} ms"
    hyperfine --style basic --runs "$runs" --warmup 1 "$cli --service $base search a"
    kill "$pid"; wait "$pid" 2>/dev/null || true; rm -f "$out"
  done
done
