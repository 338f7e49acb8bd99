#!/usr/bin/env bash
# Hosts in C++ are built against what cmake --install puts down, by CMake and by pkg-config, and with the sources as a part
# of their own project. Nothing of the component is built again.
# usage: package_test.sh SOURCES BUILD COMPILER
set -euo pipefail

sources=$1 build=$2 compiler=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() {
  echo "FAILED: $*" >&2
  exit 1
}
quietly() { "$@" >"$folder/log" 2>&1 || { cat "$folder/log" >&2; fail "$*"; }; }

# runs PROGRAM: records a practice of six hours as the first training; the log has one entry, with $2 in it.
runs() {
  local data
  data=$(mktemp -d -p "$folder")
  [ "$(env -u DISPLAY -u WAYLAND_DISPLAY "$1" "$data")" = "1 21600" ] || fail "$1 has not recorded the practice"
  [ "$(grep -c 函数名 "$data/QmTrainInfo.Log")" = 1 ] || fail "$1: $(cat "$data/QmTrainInfo.Log")"
  grep -q "$2" "$data/QmTrainInfo.Log" || fail "$1: $(cat "$data/QmTrainInfo.Log")"
}
without_windows=没有可以显示的训练历史窗口
without_display=显示设备

quietly cmake --install "$build" --prefix "$folder/usr"
mkdir "$folder/moved"
mv "$folder/usr" "$folder/moved/usr"
installed=$folder/moved/usr
package=$(find "$installed" -name QmTrainInfoConfig.cmake)
libraries=$(dirname "$(dirname "$(dirname "$package")")")

[ -x "$installed/bin/jetsql" ] || fail "jetsql is not installed"
[ ! -e "$libraries/libqmtrain_review.a" ] || [ -x "$installed/bin/qmtrain" ] || fail "qmtrain is not installed"

echo "each header alone"
headers=$(cd "$installed/include" && find qmtrain -name '*.h' | sort)
[ -n "$headers" ] || fail "no headers"
for header in $headers; do
  echo "#include <$header>" | quietly "$compiler" -std=c++20 -Wall -Wextra -Werror -fsyntax-only -x c++ \
    -I "$installed/include" -
done

echo "find_package"
quietly cmake -S "$sources/tests/package/host" -B "$folder/found" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_PREFIX_PATH="$installed"
quietly cmake --build "$folder/found"
runs "$folder/found/host" "$without_windows"
if [ -e "$libraries/libqmtrain_review.a" ]; then runs "$folder/found/host_with_windows" "$without_display"; fi

echo "pkg-config"
for name in qmtraininfo qmtraininfo-windows; do
  [ -e "$libraries/pkgconfig/$name.pc" ] || continue
  flags=$(PKG_CONFIG_PATH=$libraries/pkgconfig pkg-config --cflags --libs "$name")
  # shellcheck disable=SC2086  # words
  quietly "$compiler" -std=c++20 "$sources/tests/package/host/host.cpp" -o "$folder/$name" $flags
done
runs "$folder/qmtraininfo" "$without_windows"
if [ -e "$folder/qmtraininfo-windows" ]; then runs "$folder/qmtraininfo-windows" "$without_display"; fi

echo "add_subdirectory"
quietly cmake -S "$sources/tests/package/host" -B "$folder/part" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
  -DQMTRAININFO="$sources" -DQMTRAIN_WINDOWS=OFF
quietly cmake --build "$folder/part" --target CMakeFiles/host.dir/host.cpp.o
if grep -q -e '-Wpedantic' -e "-I$sources/src" <(ninja -C "$folder/part" -t commands CMakeFiles/host.dir/host.cpp.o |
  tail -n 1); then
  fail "the host is compiled with the component's own options"
fi
