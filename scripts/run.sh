#!/usr/bin/env bash
# Installs what is missing, builds the engine and runs vormi from the project root. Arguments are
# passed to vormi. Without a display it runs under Xvfb, saves a screenshot of the window, prints its
# path and closes the window.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)

scripts/deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc 2>/dev/null || echo 2)" --target vormi VormiEngine vormi-convert vormi-close

if [ -n "${DISPLAY:-}" ]; then
  exec build/vormi -C "$root" "$@"
fi

export SDL_AUDIODRIVER=${SDL_AUDIODRIVER:-dummy}
shot="$root/build/screenshot.png"
seconds=${VORMI_SCREENSHOT_DELAY:-3}
xvfb-run -a -s "-screen 0 1280x720x24" bash -c '
  set -u
  build/vormi -C "$0" "${@:3}" &
  pid=$!
  for _ in $(seq 100); do
    win=$(xdotool search --onlyvisible --name "^Vormi Engine\$" 2>/dev/null | head -n1)
    [ -n "$win" ] && break
    kill -0 $pid 2>/dev/null || break
    sleep 0.1
  done
  if [ -z "${win:-}" ]; then echo "vormi did not open its window" >&2; wait $pid; exit 1; fi
  sleep "$2"
  import -window "$win" "$1"
  echo "Screenshot: $1"
  # Close it as a window manager would, so the engine shuts down in order and saves its settings.
  build/vormi-close "$win"
  wait $pid
' "$root" "$shot" "$seconds" "$@"
