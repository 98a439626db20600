#!/usr/bin/env bash
# Whole-process benchmark: HTTPDownload (through bench/download_driver) against
# curl, fetching the same files from nginx on loopback. Reports wall time over
# several runs and peak memory of both, for a 1 GiB and a 1 MiB file.
#   bench/download_vs_curl.sh [build-dir] [runs]
set -euo pipefail
build=${1:-build}
runs=${2:-5}
driver="$build/bench/download_driver"
[ -x "$driver" ] || { echo "build $driver first (make build)" >&2; exit 1; }
for tool in nginx curl hyperfine /usr/bin/time; do
  command -v "$tool" >/dev/null || { echo "needs $tool (apt-get install nginx-light curl hyperfine time)" >&2; exit 1; }
done

work=$(mktemp -d)
trap 'nginx -p "$work" -c "$work/nginx.conf" -s stop 2>/dev/null || true; rm -rf "$work"' EXIT
mkdir -p "$work/www" "$work/logs" "$work/out"
# nginx's workers run as another user: they must be able to read the files.
chmod 755 "$work" "$work/www"
head -c 1G /dev/urandom > "$work/www/big"
head -c 1M /dev/urandom > "$work/www/small"
port=$(python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
cat > "$work/nginx.conf" <<CONF
daemon on;
pid $work/nginx.pid;
error_log $work/logs/error.log;
events {}
http {
  access_log off;
  sendfile on;
  server { listen 127.0.0.1:$port; root $work/www; }
}
CONF
nginx -p "$work" -c "$work/nginx.conf"
sleep 0.5

for file in big small; do
  url="http://127.0.0.1:$port/$file"
  echo "== $file: wall time, $runs runs each"
  hyperfine --style basic --runs "$runs" --warmup 1 \
    -n "the loopback floor (cat of the file)" "cat $work/www/$file > $work/out/cat" \
    -n "HTTPDownload, 1 connection" "$driver $url $work/out/driver 1" \
    -n "HTTPDownload, 4 connections" "$driver $url $work/out/driver4 4" \
    -n curl "curl -s -o $work/out/curl $url"
  cmp "$work/out/driver" "$work/www/$file" && cmp "$work/out/driver4" "$work/www/$file" && cmp "$work/out/curl" "$work/www/$file"
  for client in driver driver4 curl; do
    case $client in
      driver) cmd=("$driver" "$url" "$work/out/driver" 1) ;;
      driver4) cmd=("$driver" "$url" "$work/out/driver4" 4) ;;
      *) cmd=(curl -s -o "$work/out/curl" "$url") ;;
    esac
    peak=$(/usr/bin/time -f %M "${cmd[@]}" 2>&1 >/dev/null | tail -n1)
    echo "peak memory $client ($file): ${peak} KiB"
  done
done
