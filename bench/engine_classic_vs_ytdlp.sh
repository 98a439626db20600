#!/usr/bin/env bash
# The two engines against melodrift-service on loopback: time to the results of
# a 25-item search (melodrift-cli, thumbnails included) and to the first preview
# frame (bench/preview_driver, web engine cold and warm), classic against yt-dlp;
# and where yt-dlp's time goes: its start-up alone (--version), its reading of
# the feed and of one watch page.
#   bench/engine_classic_vs_ytdlp.sh [build-dir] [runs]
set -euo pipefail
build=$(realpath "${1:-build}")
runs=${2:-10}
cli="$build/src/app/melodrift-cli"
command -v hyperfine >/dev/null || { echo "needs hyperfine (apt-get install hyperfine)" >&2; exit 1; }
command -v yt-dlp >/dev/null || { echo "needs yt-dlp (apt-get install yt-dlp)" >&2; exit 1; }
work=$(mktemp -d)
"$build/service/melodrift-service" --feed-size 25 > "$work/base" 2> "$work/service.log" &
pid=$!
trap 'kill $pid 2>/dev/null; wait $pid 2>/dev/null; rm -rf "$work"' EXIT
until [ -s "$work/base" ]; do sleep 0.2; done
base=$(head -n1 "$work/base")
export HOME=$work XDG_CONFIG_HOME=$work/.config XDG_CACHE_HOME=$work/.cache
# The hd720 MP4 of "Tom & Jerry & the Test Card".
watch="$base/watch?v=VGVzdENhcmQ"
feed="$base/feeds/api/videos?alt=rss&q=a"

for engine in classic yt-dlp; do
  echo "== $engine: $("$cli" --engine $engine --service "$base" search a | grep -c 'watch?v=') results"
done
hyperfine --style basic --runs "$runs" --warmup 1 \
  -n "search, classic" "$cli --engine classic --service $base search a" \
  -n "search, yt-dlp" "$cli --engine yt-dlp --service $base search a" \
  -n "yt-dlp --version (start-up alone)" "yt-dlp --version" \
  -n "yt-dlp -J --flat-playlist FEED" "yt-dlp --ignore-config -J --flat-playlist '$feed'" \
  -n "yt-dlp -J WATCH-PAGE" "yt-dlp --ignore-config -J --no-playlist '$watch'" \
  -n "streams, classic" "$cli --engine classic --service $base streams '$watch'" \
  -n "streams, yt-dlp" "$cli --engine yt-dlp --service $base streams '$watch'"

export QT_PLUGIN_PATH="$build/src/app"
preview_runs=$(( runs < 5 ? runs : 5 ))
for engine in classic yt-dlp; do
  for i in $(seq "$preview_runs"); do
    xvfb-run -a -s "-screen 0 1280x900x24 -noreset" "$build/bench/preview_driver" "$base" VGVzdENhcmQ $engine 2>/dev/null
  done | awk -v engine=$engine '{ cold[NR]=$2; warm[NR]=$4 }
    function median(a, n,   s, i, j, t) { for (i = 1; i <= n; i++) s[i] = a[i];
      for (i = 1; i <= n; i++) for (j = i + 1; j <= n; j++) if (s[j] < s[i]) { t = s[i]; s[i] = s[j]; s[j] = t }
      return n % 2 ? s[(n + 1) / 2] : (s[n / 2] + s[n / 2 + 1]) / 2 }
    END { printf "first preview frame, %s (%d runs): web engine cold median %.0f ms, warm median %.0f ms\n",
                 engine, NR, median(cold, NR), median(warm, NR) }'
done
