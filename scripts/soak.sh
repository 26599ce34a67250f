#!/usr/bin/env bash
# Soak: the host built with AddressSanitizer and UndefinedBehaviorSanitizer (build-asan/) runs under
# Xvfb for the given minutes while random real input reaches its window through xdotool: keys, typed
# console lines, clicks, drags, wheel turns, resizes, Escape and the console key. RSS is sampled every
# 10 s. A host that dies is restarted and counted; one that quits (a menu's Quit) is restarted too.
# At the end it prints the sanitizer findings, the deaths and the memory trend after the warm-up.
#   scripts/soak.sh [minutes] [warm-up minutes]     (default 10 and 5)
# Logs: build-asan/soak/ (rss.log, actions.log, sanitizer reports).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)

if [ "${1:-}" != "--inside-x" ]; then
  minutes=${1:-10}
  warmup=${2:-5}
  scripts/deps.sh
  cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVORMI_SANITIZE=ON >/dev/null
  cmake --build build-asan -j "$(nproc 2>/dev/null || echo 2)" --target vormi VormiEngine vormi_keep_modules
  exec xvfb-run -a -s "-screen 0 1280x720x24" "$0" --inside-x "$minutes" "$warmup"
fi
minutes=$2
warmup=$3

logs=$root/build-asan/soak
rm -rf "$logs"
mkdir -p "$logs"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r test "$work/"
rm -f "$work"/test/scripts/cvars.txt*

export SDL_AUDIODRIVER=dummy
export LD_PRELOAD=$root/build-asan/tests/libvormi_keep_modules.so
# A small quarantine fills within the warm-up even when input is slow, so that what the memory trend
# shows afterwards is the engine's and not freed memory ASan still holds back.
export ASAN_OPTIONS=log_path=$logs/sanitizer:detect_leaks=1:alloc_dealloc_mismatch=0:verify_asan_link_order=0:quarantine_size_mb=32
export LSAN_OPTIONS=suppressions=$root/tests/lsan.supp
export UBSAN_OPTIONS=log_path=$logs/sanitizer:print_stacktrace=1:halt_on_error=1

lines=("test_create_form 50" "test_destroy_panel" "test_create_panel 20" "list_cvar" "list_cmd" "fps"
       "show_mainmenu" "open_optionsmenu" "tool_fps 1" "tool_fps 0" "debug_drawoutline 1" "debug_drawoutline 0"
       "viewport_scale 1.5" "viewport_scale 1.0" "viewport_autoscale 1" "viewport_autoscale 0" "no_such_command"
       "frame_delay 2" "testcmd")
keys=(Escape grave grave Return BackSpace Delete Left Right Up Down Home End Tab ctrl+v ctrl+a alt+grave)

pid=
win=
starts=0 deaths=0 quits=0 actions=0
start_host() {
  build-asan/vormi -C "$work" >>"$logs/host.log" 2>&1 &
  pid=$!
  starts=$((starts + 1))
  win=
  for _ in $(seq 300); do
    win=$(xdotool search --onlyvisible --name '^Vormi Engine$' 2>/dev/null | head -n1) || true
    [ -n "$win" ] && break
    sleep 0.1
  done
  [ -n "$win" ] && xdotool windowfocus "$win" 2>/dev/null || true
}
check_host() {
  kill -0 "$pid" 2>/dev/null && return 0
  local status=0
  wait "$pid" || status=$?
  if [ "$status" -eq 0 ]; then quits=$((quits + 1)); else deaths=$((deaths + 1)); echo "death: exit $status" >>"$logs/actions.log"; fi
  start_host
}
# One xdotool call per action carries a burst of 2 to 5 inputs, so that a loaded machine spends its
# time in the engine rather than in starting xdotool.
random_input() {
  local x=$((RANDOM % 1024)) y=$((RANDOM % 576))
  case $((RANDOM % 10)) in
    0|1) echo "key --delay 30 ${keys[RANDOM % ${#keys[@]}]}" ;;
    2|3) echo "key grave type --delay 20 '${lines[RANDOM % ${#lines[@]}]}' key Return" ;;
    4|5) echo "mousemove --window $win $x $y click 1" ;;
    6) echo "mousemove --window $win $x $y mousedown 1 mousemove_relative -- $((RANDOM % 200 - 100))" \
         "$((RANDOM % 200 - 100)) mouseup 1" ;;
    7) echo "mousemove --window $win $x $y click $((4 + RANDOM % 2))" ;;
    8) echo "windowsize $win $((640 + RANDOM % 600)) $((480 + RANDOM % 220))" ;;
    9) echo "mousemove_relative -- $((RANDOM % 100 - 50)) $((RANDOM % 100 - 50)) type 'ab 12'" ;;
  esac
}
random_action() {
  local burst=$((2 + RANDOM % 4)) command=""
  for _ in $(seq "$burst"); do command+=" $(random_input)"; done
  echo "$command" >>"$logs/actions.log"
  eval "xdotool $command" >>"$logs/actions.log" 2>&1 || true
  actions=$((actions + burst))
}

start_host
begin=$(date +%s)
end=$((begin + minutes * 60))
# The sampler runs on its own, so that a slow burst of input cannot stretch the 10 s between samples;
# it reads the current host's id from a file that start_host keeps up to date.
echo "$pid" >"$logs/pid"
(
  while sleep 10; do
    host=$(cat "$logs/pid")
    rss=$(awk '/^VmRSS:/ {print $2}' "/proc/$host/status" 2>/dev/null || echo 0)
    echo "$(($(date +%s) - begin)) $host ${rss:-0}" >>"$logs/rss.log"
  done
) &
sampler=$!
while [ "$(date +%s)" -lt "$end" ]; do
  check_host
  echo "$pid" >"$logs/pid"
  random_action
  sleep 0.05
done
kill "$sampler" 2>/dev/null || true
kill -TERM "$pid" 2>/dev/null || true
wait "$pid" 2>/dev/null || true

findings=$(cat "$logs"/sanitizer.* 2>/dev/null | grep -cE 'ERROR: (Address|Leak)Sanitizer|runtime error' || true)
# The trend: samples of the last host process after the warm-up, first against last and highest.
read -r first last high samples < <(awk -v w=$((warmup * 60)) -v p="$pid" '$1 >= w && $2 == p && $3 > 0 {
  if (!n) first = $3; last = $3; if ($3 > high) high = $3; n++ } END { print first + 0, last + 0, high + 0, n + 0 }' \
  "$logs/rss.log")
echo "soak: ${minutes} min, $actions input actions, $starts host starts ($quits quits, $deaths deaths)," \
     "$findings sanitizer reports"
if [ "$samples" -gt 0 ]; then
  awk -v f="$first" -v l="$last" -v h="$high" -v n="$samples" 'BEGIN { printf "soak: RSS after warm-up: first %.1f MB, last %.1f MB (%+.1f %%), highest %.1f MB (%+.1f %%), %d samples\n", f / 1024, l / 1024, (l - f) * 100 / f, h / 1024, (h - f) * 100 / f, n }'
fi
[ "$findings" -eq 0 ] && [ "$deaths" -eq 0 ]
