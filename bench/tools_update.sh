#!/usr/bin/env bash
# The tools kept current, on loopback: `melodrift-cli tools update` when both
# tools are current already (time, and the bytes nginx served a run: goal
# under 1 s, no program fetched), the first install for comparison, and a
# 25-result search run by Melodrift's own yt-dlp (the release's zip
# application, made here from Debian's yt_dlp module) against Debian's yt-dlp,
# both on melodrift-service.
#   bench/tools_update.sh [build-dir] [runs]
set -euo pipefail
build=$(realpath "${1:-build}")
runs=${2:-10}
cli="$build/src/app/melodrift-cli"
here=$(dirname "$(realpath "$0")")
for tool in nginx hyperfine yt-dlp gpg; do
  command -v "$tool" >/dev/null || { echo "needs $tool (scripts/bootstrap installs it)" >&2; exit 1; }
done
work=$(mktemp -d)
trap 'nginx -p "$work" -c "$work/nginx.conf" -s stop 2>/dev/null || true; kill $service 2>/dev/null || true; rm -rf "$work"' EXIT
mkdir -p "$work/logs" "$work/own" "$work/debian"
"$here/../tests/support/make-release" "$work/keys" "$work/www" 2026.11.20 2.5.6
# nginx's workers run as another user: they must be able to read the files.
chmod 755 "$work" "$work/www"
chmod 644 "$work"/www/*
port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
cat > "$work/nginx.conf" <<CONF
daemon on;
pid $work/nginx.pid;
error_log $work/logs/error.log;
events {}
http {
  log_format sent '\$request_uri \$body_bytes_sent';
  access_log $work/logs/access.log sent;
  server { listen 127.0.0.1:$port; root $work/www; }
}
CONF
nginx -p "$work" -c "$work/nginx.conf"
sleep 0.5
export MELODRIFT_YTDLP_RELEASES="http://127.0.0.1:$port/" MELODRIFT_DENO_RELEASES="http://127.0.0.1:$port/"
export MELODRIFT_YTDLP_KEY="$work/keys/key.asc"
own=(env HOME="$work/own" XDG_DATA_HOME="$work/own/data" XDG_CONFIG_HOME="$work/own/config" XDG_CACHE_HOME="$work/own/cache")
debian=(env HOME="$work/debian" XDG_DATA_HOME="$work/debian/data" XDG_CONFIG_HOME="$work/debian/config" XDG_CACHE_HOME="$work/debian/cache")

served() { awk '{ n++; b += $2 } END { printf "%d requests, %d bytes", n, b }' "$work/logs/access.log"; }

: > "$work/logs/access.log"
start=$(date +%s.%N)
"${own[@]}" "$cli" tools update
echo "== first install: $(awk -v a="$start" -v b="$(date +%s.%N)" 'BEGIN { printf "%.2f", b - a }') s, $(served)"
: > "$work/logs/access.log"
"${own[@]}" "$cli" tools update
echo "== one update when current: $(served)"
grep -v -E 'SHA2-256SUMS|sha256sum' "$work/logs/access.log" && { echo "a program was fetched when current" >&2; exit 1; }
hyperfine --style basic --runs "$runs" --warmup 1 -n "tools update, current" "${own[*]} $cli tools update"

"$build/service/melodrift-service" --feed-size 25 > "$work/base" 2> "$work/service.log" &
service=$!
until [ -s "$work/base" ]; do sleep 0.2; done
base=$(head -n1 "$work/base")
echo "== own: $("${own[@]}" "$cli" tools | head -n1)"
echo "== debian: $("${debian[@]}" "$cli" tools | head -n1)"
hyperfine --style basic --runs "$runs" --warmup 1 \
  -n "search, Melodrift's own yt-dlp (zip application)" "${own[*]} $cli --engine yt-dlp --service $base search a" \
  -n "search, Debian's yt-dlp" "${debian[*]} $cli --engine yt-dlp --service $base search a"
