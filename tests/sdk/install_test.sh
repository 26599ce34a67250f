#!/usr/bin/env bash
# The SDK as a user gets it. Installs the build into a temporary prefix; checks the installed headers
# and the library's exports; builds both examples against that prefix alone (CMake, and the linked one
# with pkg-config too) and runs them; builds the .deb and runs its host from a folder without test/.
# Usage: install_test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1
src=$2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
prefix=$tmp/prefix
export SDL_VIDEODRIVER=offscreen SDL_AUDIODRIVER=dummy
unset DISPLAY

fail() { echo "FAIL: $*" >&2; exit 1; }
# expect_in FILE TEXT...: every TEXT occurs in FILE.
expect_in() {
  local file=$1; shift
  for text in "$@"; do
    grep -qF -- "$text" "$file" || { cat "$file" >&2; fail "expected '$text' in $file"; }
  done
}
# run_ok LOG DIR COMMAND...: runs COMMAND in DIR, output to LOG, and expects exit status 0.
run_ok() {
  local log=$1 dir=$2; shift 2
  (cd "$dir" && "$@") >"$log" 2>&1 || { cat "$log" >&2; fail "$* exited $?"; }
}

cmake --install "$build" --prefix "$prefix" >/dev/null
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
cflags=$(pkg-config --cflags vormi-engine)

# Every installed header compiles on its own with only the package's flags, and declares nothing it
# does not export: each class, function and variable outside a class carries VORMI_API.
headers=$(cd "$prefix/include/vormi" && find . -name '*.h' | sort)
[ -n "$headers" ] || fail "no headers installed"
for h in $headers; do
  printf '#include "%s"\n' "${h#./}" | g++ -std=c++17 -fsyntax-only -Wall -Wextra $cflags -x c++ - \
    || fail "$h does not compile alone"
done
unexported=$(cd "$prefix/include/vormi" && grep -nE '^class [A-Za-z_]+( final)? *(:|\{|$)|^extern [^"]|^[A-Za-z_][A-Za-z0-9_:<>,*& ]*[ *&][A-Za-z_][A-Za-z0-9_]*\(' $headers \
  | grep -vE 'VORMI_API|\{ *$|^[^:]*:[0-9]*:(inline|typedef|static|using|template|enum|struct|return) ' || true)
[ -z "$unexported" ] || fail "declared in an installed header but not exported:
$unexported"

# The library exports what those headers declare and nothing else (template instances of the standard
# library are the compiler's, copied into every module that uses them).
public=$(cd "$prefix/include/vormi" && { grep -ohE '^(class|struct) VORMI_API [A-Za-z_]+' $headers | cut -d' ' -f3
  grep -ohE '^(extern )?VORMI_API [^(;]*' $headers | awk '{ print $NF }'; } | sort -u)
nm -D --defined-only -C "$prefix/lib/libVormiEngine.so" | cut -d' ' -f3- \
  | grep -vE '^([^(]* )?(std::|__gnu_cxx::)|^_(init|fini)$|^(_edata|_end|__bss_start)$' >"$tmp/exports"
stray=$(while read -r sym; do
  name=${sym#vtable for }; name=${name#typeinfo name for }; name=${name#typeinfo for }
  name=${name%%(*}; name=${name%%::*}; name=${name%%\[*}
  grep -qxF -- "$name" <<<"$public" || echo "$sym"
done <"$tmp/exports")
[ -z "$stray" ] || fail "exported but not in an installed header:
$stray"
for name in $public; do
  grep -qE "^(vtable for |typeinfo for )?$name(\(|::|\[|\$)" "$tmp/exports" || fail "$name is declared VORMI_API but not exported"
done

# README prints the minimal example as it is.
sed -n '/^## SDK/,/^## /p' "$src/README.md" | sed -n '/^```cpp$/,/^```$/p' | sed '1d;$d' >"$tmp/readme_example.cpp"
diff -u "$src/examples/minimal_host/main.cpp" "$tmp/readme_example.cpp" >&2 || fail "README's example differs from examples/minimal_host"

# A folder like a user's, with the engine's assets and nothing from the source tree.
mkdir -p "$tmp/run"
cp -r "$prefix/share/vormi/test" "$tmp/run/"
for example in minimal_host linked_host; do
  cp -r "$src/examples/$example" "$tmp/$example"
  cmake -S "$tmp/$example" -B "$tmp/$example/build" -DCMAKE_PREFIX_PATH="$prefix" >"$tmp/$example.log" 2>&1 \
    && cmake --build "$tmp/$example/build" >>"$tmp/$example.log" 2>&1 || { cat "$tmp/$example.log" >&2; fail "$example build"; }
done

run_ok "$tmp/minimal.out" "$tmp/run" "$tmp/minimal_host/build/minimal_host" "$prefix/lib/libVormiEngine.so" 5
expect_in "$tmp/minimal.out" "Entering main loop" "FPS: "
if (cd "$tmp/run" && "$tmp/minimal_host/build/minimal_host" "$tmp/nowhere.so" 5) >"$tmp/minimal.bad" 2>&1; then
  fail "minimal_host ran without a library"
fi
expect_in "$tmp/minimal.bad" "minimal_host: $tmp/nowhere.so: cannot open shared object file"

g++ -std=c++17 -Wall -Wextra -o "$tmp/linked_pc" "$tmp/linked_host/main.cpp" \
  -DHOST_SCREEN_SCRIPT="\"$tmp/linked_host/host_screen.txt\"" $(pkg-config --cflags --libs vormi-engine) \
  || fail "linked_host does not build with pkg-config"
for linked in "$tmp/linked_host/build/linked_host" "$tmp/linked_pc"; do
  LD_LIBRARY_PATH=$prefix/lib run_ok "$tmp/linked.out" "$tmp/run" "$linked" 5
  expect_in "$tmp/linked.out" "linked_host: frame_delay is " "linked_host: host_screen is in the tree" \
    "linked_host: hello_host ran (at start), host_greeting is \"hello from the host\""
  grep -qE 'linked_host: texture plane.bmp has handle [1-9]' "$tmp/linked.out" || { cat "$tmp/linked.out"; fail "texture handle 0"; }
done

# The Debian package: its contents, its dependencies, and its host run as a user would run it.
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$tmp/pkg" >"$tmp/cpack.log" 2>&1 || { cat "$tmp/cpack.log"; fail cpack; }
deb=$(ls "$tmp"/pkg/*.deb)
dpkg-deb -c "$deb" >"$tmp/deb.list"
expect_in "$tmp/deb.list" ./usr/bin/vormi ./usr/lib/libVormiEngine.so.0 ./usr/include/vormi/ui/panel.h \
  ./usr/share/vormi/test/fonts/OpenSans-LICENSE.txt ./usr/share/vormi/test/scripts/main_menu.txt \
  ./usr/lib/cmake/VormiEngine/VormiEngineConfig.cmake ./usr/lib/pkgconfig/vormi-engine.pc
dpkg-deb -f "$deb" Depends >"$tmp/deb.depends"
expect_in "$tmp/deb.depends" libsdl2-2.0-0 libsdl2-ttf-2.0-0 libgl1
dpkg-deb -x "$deb" "$tmp/root"
vormi=$tmp/root/usr/bin/vormi

mkdir -p "$tmp/empty"
export XDG_DATA_HOME=$tmp/xdg
assets=$XDG_DATA_HOME/vormi/test
run_ok "$tmp/deb.out" "$tmp/empty" "$vormi" --frames 5
expect_in "$tmp/deb.out" "vormi: using the assets in $assets (first run: copied from" "Entering main loop"
[ -f "$assets/scripts/cvars.txt" ] || fail "settings not written to $assets"
run_ok "$tmp/deb.out" "$tmp/empty" "$vormi" --frames 1
expect_in "$tmp/deb.out" "vormi: using the assets in $assets"
if grep -q "first run" "$tmp/deb.out"; then fail "copied the assets again"; fi
run_ok "$tmp/deb.out" "$tmp/empty" "$vormi" --frames 1 -C "$tmp/run"
expect_in "$tmp/deb.out" "vormi: using the assets in $tmp/run/test"
run_ok "$tmp/deb.out" "$tmp/run" "$vormi" --frames 1
if grep -q "using the assets" "$tmp/deb.out"; then fail "announced the working directory"; fi

rm -r "$assets/fonts"
status=0
(cd "$tmp/empty" && "$vormi" --frames 5) >"$tmp/deb.out" 2>&1 || status=$?
[ "$status" = 2 ] || { cat "$tmp/deb.out"; fail "missing fonts: exit $status, expected 2"; }
[ "$(wc -l <"$tmp/deb.out")" = 1 ] || { cat "$tmp/deb.out"; fail "missing fonts: expected one line"; }
expect_in "$tmp/deb.out" "vormi: $assets cannot run the engine, it lacks fonts/OpenSans-Regular.ttf"
echo "SDK install test passed"
