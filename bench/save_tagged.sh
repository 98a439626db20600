#!/usr/bin/env bash
# What titling a saved file costs, and what keeping the sound as it came saves:
# melodrift-cli against melodrift-service through yt-dlp's answer (a 1080p
# picture alone joined with a 10-minute AAC sound), with tags, cover and
# subtitles against --no-tags, and the 10-minute sound as MP3 against
# --sound original. Goal: titled files under 5 % slower than bare ones.
#   bench/save_tagged.sh [build-dir] [runs]
set -euo pipefail
build=$(realpath "${1:-build}")
runs=${2:-5}
here=$(dirname "$(realpath "$0")")
cli="$build/src/app/melodrift-cli"
for tool in hyperfine yt-dlp ffmpeg; do
  command -v "$tool" >/dev/null || { echo "needs $tool (scripts/bootstrap installs it)" >&2; exit 1; }
done
work=$(mktemp -d)
trap 'kill $service 2>/dev/null || true; rm -rf "$work"' EXIT
id=VGVzdENhcmQ
# The demo catalogue with a 10-minute sound track and a 60 s 1080p picture in place of one video's streams.
cp -r "$here/../build-catalogue" "$work/data"
ffmpeg -hide_banner -loglevel error -y -f lavfi -i testsrc2=size=1920x1080:rate=30 -t 60 \
  -c:v libx264 -preset ultrafast -pix_fmt yuv420p "$work/data/media/$id-22.mp4"
ffmpeg -hide_banner -loglevel error -y -f lavfi -i testsrc=size=160x120:rate=5 -f lavfi -i "sine=f=440:d=600" \
  -t 600 -c:v libx264 -preset ultrafast -c:a aac -b:a 128k -ac 2 -ar 44100 -shortest "$work/data/media/$id-18.mp4"
"$build/service/melodrift-service" --data "$work/data" > "$work/base" 2>/dev/null &
service=$!
until [ -s "$work/base" ]; do sleep 0.2; done
base=$(head -n1 "$work/base")

# yt-dlp's answer, reshaped as the real service's: the HD stream as the picture
# alone, the other as the sound alone; its pictures and subtitles as the page has them.
yt-dlp --ignore-config -J "$base/watch?v=$id" | /usr/bin/python3 -c '
import json, sys
info = json.load(sys.stdin)
formats = []
for f in info["formats"]:
    if "itag=22&" in f["url"]:
        f.update(vcodec="avc1.640028", acodec="none", height=1080, format_id="picture")
    elif "itag=18&" in f["url"]:
        f.update(vcodec="none", acodec="mp4a.40.2", ext="m4a", abr=128, format_id="sound")
    else:
        continue
    formats.append(f)
info["formats"] = formats
json.dump(info, open(sys.argv[1], "w"))
' "$work/info.json"
printf '#!/bin/sh\nexec /usr/bin/yt-dlp --load-info-json %s "$@"\n' "$work/info.json" > "$work/yt-dlp"
chmod +x "$work/yt-dlp"
mkdir -p "$work/home/.config/Melodrift" "$work/out"
printf '[General]\nengine=yt-dlp\nytDlpPath=%s\n' "$work/yt-dlp" > "$work/home/.config/Melodrift/Melodrift.conf"
me="env HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_CACHE_HOME=$work/home/.cache XDG_DATA_HOME=$work/home/.local/share"
run="$me $cli --service $base --output $work/out"
watch="'$base/watch?v=$id'"
hyperfine --style basic --runs "$runs" --warmup 1 --prepare "rm -rf $work/out/*" \
  -n "video, bare" "$run video --no-tags $watch" \
  -n "video, titled, cover, subtitles" "$run video --subtitles en $watch" \
  -n "MP3, bare" "$run audio --no-tags $watch" \
  -n "MP3, titled, cover" "$run audio $watch" \
  -n "sound as it came, titled, cover" "$run audio --sound original $watch"
