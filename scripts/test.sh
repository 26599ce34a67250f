#!/usr/bin/env bash
# Installs what is missing, builds the engine twice (plain, and with AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs every test of both builds; then builds the fuzz targets and runs
# each for a few seconds from its corpus, and kills the host about 50 times while it saves.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/deps.sh

jobs=$(nproc 2>/dev/null || echo 2)
export SDL_AUDIODRIVER=dummy

for variant in build:OFF build-asan:ON; do
  dir=${variant%%:*}
  sanitize=${variant##*:}
  echo "== $dir (sanitizers $sanitize)"
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVORMI_SANITIZE="$sanitize" >/dev/null
  cmake --build "$dir" -j "$jobs"
  (cd "$dir" && ctest --output-on-failure -j "$jobs")
done
scripts/fuzz.sh 5
scripts/kill_save.sh 50
echo "All tests passed."
