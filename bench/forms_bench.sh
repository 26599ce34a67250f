#!/usr/bin/env bash
# Frame time of the engine on the "test_create_form N" scene against a lower bound that issues the
# same SDL calls with no engine around them (../shared/bench/raw_sdl_forms, built here when present).
# Both run on SDL's software render driver in an offscreen 1280x720 window, with no X server, vsync
# off and no frame delay, one after the other in the same run, so that they see the same machine load.
#
#   bench/forms_bench.sh [seconds per run]        default 3
#
# Environment:
#   FORMS       form counts to measure            default "100 1000 5000"
#   REPEAT      runs of each program per count; the fastest one counts   default 2
#   BUILD_DIR   engine build to use, brought up to date first; configured as Release when new
#               default build-forms-bench in the repository
#
# The engine's frame time is the median of the host's --stats (its first frames build the forms); the
# lower bound's is its mean after a 0.5 s warm-up. The engine draws the menus layer's backdrop at start,
# so the lower bound runs with --backdrop. Quote the ratios: the absolute times depend on the load.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
repo=$(cd "$here/.." && pwd)
seconds=${1:-3}
forms=${FORMS:-"100 1000 5000"}
repeat=${REPEAT:-2}
build=${BUILD_DIR:-$repo/build-forms-bench}
shared=$repo/../shared/bench

export SDL_VIDEODRIVER=offscreen SDL_RENDER_DRIVER=software SDL_FRAMEBUFFER_ACCELERATION=0 SDL_RENDER_BATCHING=1
export SDL_AUDIODRIVER=dummy
unset DISPLAY WAYLAND_DISPLAY

if [[ ! -f $build/CMakeCache.txt ]]; then
    cmake -S "$repo" -B "$build" -DCMAKE_BUILD_TYPE=Release -DVORMI_BUILD_TESTS=OFF >/dev/null
fi
echo "building the engine in $build" >&2
cmake --build "$build" -j2 --target vormi VormiEngine >/dev/null

work=$(mktemp -d /tmp/vormi-forms-bench-XXXXXX)
trap 'rm -rf "$work"' EXIT
cp -r "$repo/test" "$work/test"
mkdir -p "$work/test/scripts"
printf 'window_width "1280"\nwindow_height "720"\nframe_delay "0"\n' >"$work/test/scripts/cvars.txt"
cvars=$(cat "$work/test/scripts/cvars.txt")

raw=""
if [[ -x $shared/build.sh ]]; then
    raw=$("$shared/build.sh" "$work/lowerbound" | tail -n 1)
else
    echo "no lower bound: $shared is absent, so only the engine is measured" >&2
fi

# Prints the engine's median and mean frame time in ms for N forms.
engine_ms() {
    local n=$1 out
    # The run must outlast the warm-up frames; SIGINT is SDL's quit event, so the host prints its stats.
    printf '%s\n' "$cvars" >"$work/test/scripts/cvars.txt"
    out=$(cd "$work" && timeout -s INT "$(awk -v s="$seconds" 'BEGIN { print s + 0.5 }')" \
        "$build/vormi" --exec "test_create_form $n" --stats 2>/dev/null | grep '^stats:' || true)
    if [[ -z $out ]]; then
        echo "- -"
        return
    fi
    sed -E 's/.*mean_ms=([0-9.]+) median_ms=([0-9.]+).*/\2 \1/' <<<"$out"
}

# Prints the lower bound's mean frame time in ms for N forms.
raw_ms() {
    local n=$1
    (cd "$work" && "$raw" --forms "$n" --seconds "$seconds" --renderer software --backdrop \
        --font test/fonts/OpenSans-Regular.ttf) | sed -nE 's/.* frame_us=([0-9.]+).*/\1/p' |
        awk '{ printf "%.3f\n", $1 / 1000 }'
}

min() { awk -v a="$1" -v b="$2" 'BEGIN { if (a == "-" || (b != "-" && b + 0 < a + 0)) print b; else print a }'; }

printf '%-6s %14s %14s %16s %8s\n' forms "engine ms" "engine mean" "lower bound ms" ratio
for n in $forms; do
    best_engine="-" best_mean="-" best_raw="-"
    for ((i = 0; i < repeat; ++i)); do
        if [[ -n $raw ]]; then
            best_raw=$(min "$best_raw" "$(raw_ms "$n")")
        fi
        read -r median mean <<<"$(engine_ms "$n")"
        best_engine=$(min "$best_engine" "$median")
        best_mean=$(min "$best_mean" "$mean")
    done
    ratio="-"
    if [[ $best_raw != "-" && $best_engine != "-" ]]; then
        ratio=$(awk -v e="$best_engine" -v r="$best_raw" 'BEGIN { printf "%.2f", e / r }')
    fi
    printf '%-6s %14s %14s %16s %8s\n' "$n" "$best_engine" "$best_mean" "$best_raw" "$ratio"
done
