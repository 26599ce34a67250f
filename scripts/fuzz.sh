#!/usr/bin/env bash
# Builds the libFuzzer targets (build-fuzz/: clang, AddressSanitizer, UndefinedBehaviorSanitizer) and
# runs them all at once for the given number of seconds each, from the committed corpus (fuzz/corpus/)
# and from seeds made out of the asset tree. Runs of a minute or more keep new inputs in
# build-fuzz/found/<target>/ and start from them next time; anything that fails goes to
# build-fuzz/crashes/, with its log in build-fuzz/logs/ (build-fuzz/smoke/logs/ for shorter runs).
#   scripts/fuzz.sh [seconds] [target...]     (default: 5 seconds, every target)
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)

seconds=${1:-5}
shift || true
all=(cvars panel_script bmp model_sdl model_gl font ui_input)
targets=("${@:-${all[@]}}")

scripts/deps.sh
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVORMI_FUZZ=ON \
  -DVORMI_BUILD_TESTS=OFF >/dev/null
cmake --build build-fuzz -j "$(nproc 2>/dev/null || echo 2)" --target vormi_fuzz

# Seeds from the shipped assets, rebuilt each run so they follow the assets. A font seed ends with the
# three bytes the target reads as its parameters: opaque background, size 12, the common size range.
seeds=$root/build-fuzz/seeds
rm -rf "$seeds"
mkdir -p "$seeds"/{cvars,panel_script,bmp,model_sdl,model_gl,font,ui_input} build-fuzz/{found,crashes,logs}
# The targets work in a copy of the asset tree, so every path handed to them is absolute.
out=$root/build-fuzz
cp test/scripts/*.txt "$seeds/panel_script/"
cp test/tex/*.bmp tests/data/*.bmp "$seeds/bmp/"
cp test/models/* "$seeds/model_sdl/"
cp test/models/* "$seeds/model_gl/"
for font in test/fonts/*.ttf; do
  { cat "$font"; printf '\001\004\000'; } >"$seeds/font/$(basename "$font")"
done

export SDL_AUDIODRIVER=dummy
# A small quarantine keeps seven targets at once within a shared machine's memory; the GL driver's own
# leaks and mismatched frees are the suppressed ones of the tests.
export ASAN_OPTIONS=detect_leaks=1:alloc_dealloc_mismatch=0:quarantine_size_mb=64
export LSAN_OPTIONS=suppressions=$root/tests/lsan.supp
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
pids=()
for t in "${targets[@]}"; do
  # Long runs keep what they find for the next long run; a smoke starts from the corpus alone.
  found=$out/found/$t
  logs=$out/logs
  if [ "$seconds" -lt 60 ]; then found=$out/smoke/$t; logs=$out/smoke/logs; rm -rf "$found"; fi
  mkdir -p "$found" "$logs"
  dict=()
  [ -f "fuzz/dict/$t.dict" ] && dict=(-dict="$root/fuzz/dict/$t.dict")
  corpus=("$found" "$seeds/$t")
  [ -d "fuzz/corpus/$t" ] && corpus+=("$root/fuzz/corpus/$t")
  # Per-input leak scans only where they work: font records stay for the life of the process by
  # design (every input would look like a leak), and the scan's tracer has crashed inside the whole
  # interface. Leaks there are the engine tests' and the soak's to find.
  leaks=1
  case $t in font|ui_input) leaks=0 ;; esac
  # The timeout is wall-clock time, generous for a machine others load too.
  "$out/fuzz/fuzz_$t" -max_total_time="$seconds" -timeout=300 -detect_leaks=$leaks -rss_limit_mb=2048 \
    -malloc_limit_mb=512 \
    -print_final_stats=1 -artifact_prefix="$out/crashes/$t-" "${dict[@]}" "${corpus[@]}" \
    >"$logs/$t.log" 2>&1 &
  pids+=($!)
done

failed=0
for i in "${!targets[@]}"; do
  t=${targets[$i]}
  status=0
  wait "${pids[$i]}" || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$logs/$t.log")
  if [ "$status" -eq 0 ]; then
    echo "fuzz $t: ${runs:-?} inputs in ${seconds}s, no failure"
  else
    echo "fuzz $t: FAILED (exit $status), see $logs/$t.log"
    grep -m3 -E 'ERROR|runtime error|==[0-9]+==|deadly signal' "$logs/$t.log" || true
    failed=1
  fi
done
exit $failed
