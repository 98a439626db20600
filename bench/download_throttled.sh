#!/usr/bin/env bash
# A video joined from a 100 MB+ picture alone and its sound, from melodrift-service
# throttling as today's media servers do (a whole body or a range wider than
# 10 MiB at 4 MiB/s, any connection at 16 MiB/s), side by side: Melodrift
# (melodrift-cli through yt-dlp's answer), yt-dlp itself with the same answer,
# aria2c -x4 -s4 and curl (each then joined by ffmpeg without encoding, as
# the other two do). Goal: Melodrift in at most half of yt-dlp's time and no
# slower than aria2c.
#   bench/download_throttled.sh [build-dir] [runs]
set -euo pipefail
build=$(realpath "${1:-build}")
runs=${2:-3}
here=$(dirname "$(realpath "$0")")
cli="$build/src/app/melodrift-cli"
for tool in hyperfine yt-dlp aria2c curl ffmpeg; do
  command -v "$tool" >/dev/null || { echo "needs $tool (scripts/bootstrap installs it)" >&2; exit 1; }
done
work=$(mktemp -d)
trap 'kill $service 2>/dev/null || true; rm -rf "$work"' EXIT
id=VGVzdENhcmQ
# The demo catalogue with a 30 s lossless 1080p picture in place of one video's HD stream.
cp -r "$here/../build-catalogue" "$work/data"
ffmpeg -hide_banner -loglevel error -y -f lavfi -i testsrc2=size=1920x1080:rate=30 -t 30 \
  -c:v libx264 -preset ultrafast -qp 0 -pix_fmt yuv420p "$work/data/media/$id-22.mp4"
echo "== the picture: $(stat -c %s "$work/data/media/$id-22.mp4") bytes"
"$build/service/melodrift-service" --data "$work/data" --throttle 4096 --per-connection 16384 > "$work/base" 2>/dev/null &
service=$!
until [ -s "$work/base" ]; do sleep 0.2; done
base=$(head -n1 "$work/base")

# yt-dlp's answer for the video, reshaped as the real service's: the HD stream
# as the picture alone, the medium one as the sound alone, in 10 MiB chunks.
yt-dlp --ignore-config -J "$base/watch?v=$id" | /usr/bin/python3 -c '
import json, sys
info = json.load(sys.stdin)
formats = []
for f in info["formats"]:
    if "itag=22&" in f["url"]:
        f.update(vcodec="avc1.640028", acodec="none", height=1080, format_id="picture")
    elif "itag=18&" in f["url"]:
        f.update(vcodec="none", acodec="mp4a.40.2", ext="m4a", abr=96, format_id="sound")
    else:
        continue
    f["downloader_options"] = {"http_chunk_size": 10485760}
    formats.append(f)
info["formats"] = formats
json.dump(info, open(sys.argv[1], "w"))
for f in formats:
    print(f["url"], file=open(sys.argv[1] + "." + f["format_id"], "w"))
' "$work/info.json"
printf '#!/bin/sh\nexec /usr/bin/yt-dlp --load-info-json %s "$@"\n' "$work/info.json" > "$work/yt-dlp"
chmod +x "$work/yt-dlp"
picture=$(cat "$work/info.json.picture")
sound=$(cat "$work/info.json.sound")
mkdir -p "$work/home/.config/Melodrift" "$work/out"
printf '[General]\nengine=yt-dlp\nytDlpPath=%s\n' "$work/yt-dlp" > "$work/home/.config/Melodrift/Melodrift.conf"
me="env HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_CACHE_HOME=$work/home/.cache XDG_DATA_HOME=$work/home/.local/share"
join="ffmpeg -hide_banner -loglevel error -y -i $work/out/picture -i $work/out/sound -map 0:v -map 1:a -c copy"
hyperfine --style basic --runs "$runs" --prepare "rm -rf $work/out/* $work/home/Downloads" \
  -n "Melodrift (4 connections)" "$me $cli --service $base --output $work/out video '$base/watch?v=$id'" \
  -n "yt-dlp" "yt-dlp --ignore-config --load-info-json $work/info.json -f picture+sound -o '$work/out/ytdlp.%(ext)s'" \
  -n "aria2c -x4 -s4" "aria2c -q -x4 -s4 -d $work/out -o picture '$picture' && aria2c -q -x4 -s4 -d $work/out -o sound '$sound' && $join $work/out/aria2.mp4" \
  -n "curl" "curl -s -o $work/out/picture '$picture' && curl -s -o $work/out/sound '$sound' && $join $work/out/curl.mp4"
