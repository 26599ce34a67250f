#!/usr/bin/env bash
# Frame time of the engine on the "test_create_form N" scene against the comparison programs of
# ../shared/bench (built here when present): the lower bound that issues the engine's primitives with no
# engine around them, and the same scene written with an immediate-mode UI library (imgui_forms, built
# when libimgui-dev is installed; this script installs it when missing). Two renderers:
#   software  SDL's software render driver in an offscreen 1280x720 window, no X server
#   opengl    Mesa's software GL in a 1280x720 Xvfb window (the engine's GLRenderer, raw_gl_forms, and
#             the library on SDL's opengl render driver)
# Vsync off, no frame delay. For each N the programs run one after the other, REPEAT times, so that they
# see the same machine load; the fastest run of each counts.
#
#   bench/forms_bench.sh [seconds per run]        default 3
#
# Environment:
#   FORMS       form counts to measure            default "100 1000 5000"
#   RENDERERS   columns to measure                default "software opengl"
#   REPEAT      runs of each program per count    default 2
#   BUILD_DIR   engine build to use, brought up to date first; configured as Release when new
#               default build-forms-bench in the repository
#
# The engine's frame time is the median of the host's --stats (its first frames build the forms); the
# peers' is their mean after a 0.5 s warm-up. The engine draws the menus layer's backdrop at start, so
# raw_sdl_forms runs with --backdrop. Quote the ratios: the absolute times depend on the load.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
repo=$(cd "$here/.." && pwd)
seconds=${1:-3}
forms=${FORMS:-"100 1000 5000"}
renderers=${RENDERERS:-"software opengl"}
repeat=${REPEAT:-2}
build=${BUILD_DIR:-$repo/build-forms-bench}
shared=$repo/../shared/bench

export SDL_AUDIODRIVER=dummy SDL_RENDER_BATCHING=1
unset DISPLAY WAYLAND_DISPLAY

if [[ -x $shared/build.sh ]] && ! dpkg -s libimgui-dev >/dev/null 2>&1; then
    echo "installing libimgui-dev for the library peer" >&2
    apt-get -o DPkg::Lock::Timeout=600 install -y libimgui-dev >/dev/null 2>&1 ||
        echo "libimgui-dev could not be installed: the library peer is skipped" >&2
fi

if [[ ! -f $build/CMakeCache.txt ]]; then
    cmake -S "$repo" -B "$build" -DCMAKE_BUILD_TYPE=Release -DVORMI_BUILD_TESTS=OFF >/dev/null
fi
echo "building the engine in $build" >&2
cmake --build "$build" -j2 --target vormi VormiEngine >/dev/null

work=$(mktemp -d /tmp/vormi-forms-bench-XXXXXX)
trap 'rm -rf "$work"' EXIT
cp -r "$repo/test" "$work/test"
mkdir -p "$work/test/scripts"

declare -A peer=()
if [[ -x $shared/build.sh ]]; then
    while read -r path; do
        peer[$(basename "$path")]=$path
    done < <("$shared/build.sh" "$work/peers")
else
    echo "no peers: $shared is absent, so only the engine is measured" >&2
fi
font=test/fonts/OpenSans-Regular.ttf

# Runs a command in the renderer's environment, from the work folder.
in_env() {
    local renderer=$1
    shift
    if [[ $renderer == software ]]; then
        (cd "$work" && SDL_VIDEODRIVER=offscreen SDL_RENDER_DRIVER=software SDL_FRAMEBUFFER_ACCELERATION=0 "$@")
    else
        (cd "$work" && xvfb-run -a -s "-screen 0 1280x720x24" env SDL_VIDEODRIVER=x11 SDL_RENDER_DRIVER=opengl "$@")
    fi
}

# Prints the engine's median frame time in ms.
engine_ms() {
    local renderer=$1 n=$2 type=SDLRenderer out
    [[ $renderer == opengl ]] && type=GLRenderer
    printf 'window_width "1280"\nwindow_height "720"\nframe_delay "0"\nrenderer_type "%s"\n' "$type" \
        >"$work/test/scripts/cvars.txt"
    # The run must outlast the warm-up frames; SIGINT is SDL's quit event, so the host prints its stats.
    out=$(in_env "$renderer" timeout -s INT "$(awk -v s="$seconds" 'BEGIN { print s + 1.5 }')" \
        "$build/vormi" --exec "test_create_form $n" --stats 2>/dev/null | grep '^stats:' || true)
    if [[ -z $out ]]; then
        echo "-"
        return
    fi
    sed -E 's/.*median_ms=([0-9.]+).*/\1/' <<<"$out"
}

# Prints a peer's mean frame time in ms, or "-" when it is not built.
peer_ms() {
    local prog=$1 renderer=$2 n=$3 out
    shift 3
    if [[ -z ${peer[$prog]:-} ]]; then
        echo "-"
        return
    fi
    out=$(in_env "$renderer" "${peer[$prog]}" --forms "$n" --seconds "$seconds" --font "$font" "$@" 2>/dev/null |
        sed -nE 's/.* frame_us=([0-9.]+).*/\1/p')
    [[ -n $out ]] && awk -v us="$out" 'BEGIN { printf "%.2f\n", us / 1000 }' || echo "-"
}

min() { awk -v a="$1" -v b="$2" 'BEGIN { if (a == "-" || (b != "-" && b + 0 < a + 0)) print b; else print a }'; }
ratio() { awk -v e="$1" -v p="$2" 'BEGIN { if (e == "-" || p == "-" || p + 0 == 0) print "-"; else printf "%.2f", e / p }'; }

printf '%-9s %6s %10s %15s %8s %11s %9s\n' renderer forms "engine ms" "lower bound ms" "ratio" "library ms" "ratio"
for renderer in $renderers; do
    for n in $forms; do
        best_engine="-" best_raw="-" best_lib="-"
        for ((i = 0; i < repeat; ++i)); do
            if [[ $renderer == software ]]; then
                best_raw=$(min "$best_raw" "$(peer_ms raw_sdl_forms software "$n" --renderer software --backdrop)")
                best_lib=$(min "$best_lib" "$(peer_ms imgui_forms software "$n" --renderer software)")
            else
                best_raw=$(min "$best_raw" "$(peer_ms raw_gl_forms opengl "$n" --renderer opengl)")
                best_lib=$(min "$best_lib" "$(peer_ms imgui_forms opengl "$n" --renderer opengl)")
            fi
            best_engine=$(min "$best_engine" "$(engine_ms "$renderer" "$n")")
        done
        printf '%-9s %6s %10s %15s %8s %11s %9s\n' "$renderer" "$n" "$best_engine" "$best_raw" \
            "$(ratio "$best_engine" "$best_raw")" "$best_lib" "$(ratio "$best_engine" "$best_lib")"
    done
done
