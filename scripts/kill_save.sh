#!/usr/bin/env bash
# Kills the host with SIGKILL at random moments around its orderly shutdown, while it writes a large
# settings file (about 1.3 MB), and checks after every kill that the file is whole: byte for byte the
# old one or the new one, never torn, empty or missing. Needs a built build/vormi.
#   scripts/kill_save.sh [kills]     (default 50)
set -euo pipefail
cd "$(dirname "$0")/.."
kills=${1:-50}
vormi=$(pwd)/build/vormi
[ -x "$vormi" ] || { echo "kill_save: build/vormi is missing (build first)" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r test "$work/"
rm -f "$work"/test/scripts/cvars.txt*
settings=$work/test/scripts/cvars.txt
export SDL_VIDEODRIVER=offscreen SDL_AUDIODRIVER=dummy SDL_RENDER_DRIVER=software

# Every saved variable gets a 100 KB tail after its value (numbers still read the same) that names
# the run, so the file of each run differs from the one before it.
pad=$(head -c 100000 /dev/zero | tr '\0' 'x')
vars=(debug_drawoutline enable_screen_keyboard render_batching render_clear viewport_scale_noclamp
      filter_textures tool_fps window_minimum_size viewport_autoscale frame_delay viewport_scale)
values=(0 1 1 1 0 1 0 1 0 1 1.0)
host_args() {  # run number -> args
  args=(-C "$work" --frames 2 --set "window_width 320" --set "window_height 240")
  for i in "${!vars[@]}"; do args+=(--set "${vars[$i]} ${values[$i]} run$1 $pad"); done
}

now_ms() { date +%s%3N; }
host_args 0
start=$(now_ms)
"$vormi" "${args[@]}" >/dev/null 2>&1
duration=$(( $(now_ms) - start ))
[ -s "$settings" ] || { echo "kill_save: the first run wrote no settings" >&2; exit 1; }
echo "kill_save: an uninterrupted run takes ${duration} ms; settings file $(stat -c %s "$settings") bytes"

old_kept=0 new_written=0 mid_write=0
for k in $(seq 1 "$kills"); do
  cp "$settings" "$work/old"
  sed -E "s/ run[0-9]+ / run$k /" "$work/old" >"$work/new"
  # A killed save leaves its temporary file behind; the next run must cope with it, but every third
  # run starts without one so that its appearance can be waited for.
  [ $((k % 3)) -eq 0 ] && rm -f "$settings.tmp"
  stale=0
  if [ -e "$settings.tmp" ]; then stale=1; fi
  host_args "$k"
  "$vormi" "${args[@]}" >/dev/null 2>&1 &
  pid=$!
  if [ $((k % 3)) -eq 0 ]; then
    # Every third kill lands inside the save: as soon as the new file is being written, plus a few
    # microseconds more or less.
    delay_ms=save
    while [ ! -e "$settings.tmp" ] && kill -0 "$pid" 2>/dev/null; do :; done
    for ((spin = RANDOM % 30; spin > 0; spin--)); do :; done
  else
    # The others anywhere between 70 % and 110 % of a whole run: the frames, the shutdown, the save.
    delay_ms=$(( duration * (70 + RANDOM % 41) / 100 ))
    sleep "$(printf '%d.%03d' $((delay_ms / 1000)) $((delay_ms % 1000)))"
  fi
  kill -KILL "$pid" 2>/dev/null || true
  wait "$pid" 2>/dev/null || true
  if [ "$stale" -eq 0 ] && [ -e "$settings.tmp" ]; then mid_write=$((mid_write + 1)); fi
  if cmp -s "$settings" "$work/old"; then
    old_kept=$((old_kept + 1))
  elif cmp -s "$settings" "$work/new"; then
    new_written=$((new_written + 1))
  else
    echo "kill_save: after kill $k (at ${delay_ms} ms) the settings file is neither the old nor the new one" >&2
    cp "$settings" build/kill_save-torn.txt; cp "$work/old" build/kill_save-old.txt; cp "$work/new" build/kill_save-new.txt
    echo "kill_save: kept as build/kill_save-{torn,old,new}.txt" >&2
    exit 1
  fi
done
echo "kill_save: $kills kills: $old_kept left the old file, $new_written the new one" \
     "($mid_write while the new one was being written); never torn, empty or missing"
