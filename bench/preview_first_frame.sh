#!/usr/bin/env bash
# Whole-process benchmark of the preview against melodrift-service on loopback:
# from setVideo to the first frame playing, first preview (web engine cold) and
# second (warm), and the program's memory before and after the first preview.
#   bench/preview_first_frame.sh [build-dir] [runs]
set -euo pipefail
build=$(realpath "${1:-build}")
runs=${2:-5}
work=$(mktemp -d)
"$build/service/melodrift-service" > "$work/base" 2> "$work/service.log" &
pid=$!
trap 'kill $pid 2>/dev/null; wait $pid 2>/dev/null; rm -rf "$work"' EXIT
until [ -s "$work/base" ]; do sleep 0.2; done
base=$(head -n1 "$work/base")
export HOME=$work XDG_CONFIG_HOME=$work/.config XDG_CACHE_HOME=$work/.cache
# The driver is not beside the web engine's plugin.
export QT_PLUGIN_PATH="$build/src/app"
for i in $(seq "$runs"); do
  # The hd720 MP4 of "Tom & Jerry & the Test Card".
  xvfb-run -a -s "-screen 0 1280x900x24 -noreset" "$build/bench/preview_driver" "$base" VGVzdENhcmQ 2>/dev/null
done | awk '{ cold[NR]=$2; warm[NR]=$4; before[NR]=$6; after[NR]=$8 }
  function median(a, n,   s, i, j, t) { for (i = 1; i <= n; i++) s[i] = a[i];
    for (i = 1; i <= n; i++) for (j = i + 1; j <= n; j++) if (s[j] < s[i]) { t = s[i]; s[i] = s[j]; s[j] = t }
    return n % 2 ? s[(n + 1) / 2] : (s[n / 2] + s[n / 2 + 1]) / 2 }
  END { printf "runs %d\nfirst frame, engine cold: median %.0f ms\nfirst frame, engine warm: median %.0f ms\n", NR, median(cold, NR), median(warm, NR);
        printf "memory before the first preview: %.1f MiB, after: %.1f MiB\n", median(before, NR) / 1024, median(after, NR) / 1024 }'
