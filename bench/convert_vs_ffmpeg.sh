#!/bin/bash
# A 60-second clip converted through the converter (convert_driver) and by the
# same ffmpeg command run directly, to MP3 and to H.264, several runs each in
# alternating order. Reports mean wall and CPU (user + system, ffmpeg included)
# times and their ratios; the goal is a wall ratio of at most 1.02. "in call"
# is the wall time inside the conversion call, without the driver's start-up;
# "own cpu" the driver's CPU time without ffmpeg's, the converter's cost proper.
# The short MP3 conversion gets four times the runs. On a busy machine the CPU
# figures are the steadier ones.
#
#   bench/convert_vs_ffmpeg.sh [BUILD_DIR] [RUNS]
set -euo pipefail

build=${1:-build}
runs=${2:-5}
driver=$build/bench/convert_driver
[ -x "$driver" ] || { echo "no $driver: build the target convert_driver first" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

ffmpeg -hide_banner -loglevel error -y \
    -f lavfi -i testsrc=size=640x360:rate=30:duration=60 -f lavfi -i sine=frequency=440:duration=60 \
    -c:v libvpx -deadline realtime -cpu-used 8 -b:v 800k -c:a libvorbis "$work/clip.webm"

TIMEFORMAT='%3R %3U %3S'

# Appends "<wall> <user> <sys> <in call> <own cpu>" to $work/$1.driver
through_driver() {
    local kind=$1; shift
    { time "$driver" "$@" >"$work/inside" 2>"$work/driver.log"; } 2>"$work/time" ||
        { tail -n 3 "$work/driver.log" >&2; exit 1; }
    echo "$(cat "$work/time") $(cat "$work/inside")" >>"$work/$kind.driver"
}

# Appends "<wall> <user> <sys>" to $work/$1.direct
direct() {
    local kind=$1; shift
    { time "$@" </dev/null >/dev/null 2>/dev/null; } 2>>"$work/$kind.direct"
}

for kind in mp3 h264; do
    if [ "$kind" = mp3 ]; then
        args=(mp3 320) suffix=mp3 n=$((runs * 4))
    else
        args=(h264) suffix=mp4 n=$runs
    fi
    mapfile -d '' command < <("$driver" --print-command "${args[@]}" "$work/clip.webm" "$work/direct.$suffix")
    # One of each first, not counted: caches and the encoder probe of the driver.
    "$driver" "${args[@]}" "$work/clip.webm" "$work/driver.$suffix" >/dev/null 2>"$work/driver.log" ||
        { tail -n 3 "$work/driver.log" >&2; exit 1; }
    "${command[@]}" </dev/null >/dev/null 2>&1
    for ((run = 0; run < n; run++)); do
        if ((run % 2 == 0)); then
            through_driver "$kind" "${args[@]}" "$work/clip.webm" "$work/driver.$suffix"
            direct "$kind" "${command[@]}"
        else
            direct "$kind" "${command[@]}"
            through_driver "$kind" "${args[@]}" "$work/clip.webm" "$work/driver.$suffix"
        fi
    done
    awk -v kind="$kind" -v runs="$n" '
        FNR == NR { wall += $1; cpu += $2 + $3; inside += $4; own += $5; next }
        { dwall += $1; dcpu += $2 + $3 }
        END {
            wall /= runs; cpu /= runs; inside /= runs; own /= runs; dwall /= runs; dcpu /= runs
            printf "%-4s %2d runs  wall: ffmpeg %.3f s, converter %.3f s (in call %.3f s), ratio %.4f (in call %.4f)\n",
                   kind, runs, dwall, wall, inside, wall / dwall, inside / dwall
            printf "%-4s %2d runs  cpu:  ffmpeg %.3f s, converter %.3f s (own %.3f s = %.2f%% of ffmpeg), ratio %.4f\n",
                   kind, runs, dcpu, cpu, own, 100 * own / dcpu, cpu / dcpu
        }' "$work/$kind.driver" "$work/$kind.direct"
done
