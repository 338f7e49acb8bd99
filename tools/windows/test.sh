# The tests of the Windows build under Wine, in both word sizes; sourced by ./test.
# shellcheck shell=bash
# shellcheck source=tools/windows/wxwidgets.sh
source tools/windows/wxwidgets.sh
# shellcheck source=tools/windows/cross.sh
source tools/windows/cross.sh
# shellcheck source=tools/windows/roots.sh
source tools/windows/roots.sh
# shellcheck source=tools/windows/package.sh
source tools/windows/package.sh

# This machine's jetsql, with which Windows programs exchange files; the tests find it in QMTRAIN_NATIVE_JETSQL.
native_jetsql() {
  if [ -x "${QMTRAIN_NATIVE_JETSQL:-}" ]; then return 0; fi
  cmake -S . -B build/native -G Ninja -DCMAKE_BUILD_TYPE=Release -DQMTRAIN_WINDOWS=OFF -DQMTRAIN_BENCH=OFF \
    -DBUILD_TESTING=OFF >&2
  cmake --build build/native --target jetsql >&2
  export QMTRAIN_NATIVE_JETSQL=$PWD/build/native/tools/jetsql/jetsql
}

# The installer, in a Windows with both word sizes.
test_installer() {
  local root word_size
  need_cross_tools
  need_packages wine wine64 xvfb xauth
  for word_size in x64 x86; do build_for "$word_size" -DBUILD_TESTING=OFF -- qmtrain_server qmtrain jetsql; done
  windows_installer || return 1
  # The machine's locale would be that of the root, too; it has none. Wine keeps notes of menu entries that it makes for
  # this machine's desktop; here it makes none.
  local command=(env WINEPREFIX="$PWD/build/wine-installer" WINEDEBUG=-all WINEARCH=win64 "WINEDLLOVERRIDES=mscoree,mshtml,winedbg.exe,winemenubuilder.exe="
    LC_ALL=C.UTF-8 xvfb-run -a tests/windows/installer.sh "$PWD/tools/windows/wine" "$PWD/build/QmTrainInfo-setup.exe")
  rm -rf build/wine-installer
  if compgen -G '/usr/lib/*/wine/i386-unix/ntdll.so' >/dev/null; then
    "${command[@]}"
  elif root=$(wine_both_root); then
    with_wine_root "$root" "${command[@]}"
  else
    say "SKIPPED: the installer. build/QmTrainInfo-setup.exe is made; nothing here runs it."
  fi
}

# Wine's server at times drops a program as it starts; such a program gets a second try.
# test_windows [CTEST OPTION…]
test_windows() {
  unset QMTRAIN_MDB_READER  # nothing runs Node.js in there
  need_cross_tools
  need_packages wine wine64 libgtest-dev locales xvfb xauth fonts-wqy-microhei g++ mdbtools libcli11-dev nlohmann-json3-dev
  local werror=OFF failed=0 own_wine=no root making
  [ "${CI:-}" = true ] && werror=ON  # in 64 bits only: the other compiler sees faults in the library's vectors
  compgen -G '/usr/lib/*/wine/i386-unix/ntdll.so' >/dev/null && own_wine=yes
  # It is fetched while the compiler works.
  root=$(mktemp)
  if [ "$own_wine" = no ]; then wine32_root >"$root" & else true & fi
  making=$!
  native_jetsql
  # The package's build has turned the tests off.
  build_for x64 -DQMTRAIN_WERROR="$werror" -DBUILD_TESTING=ON --
  xvfb-run -a ctest --preset windows-x64 -j "$(nproc)" --repeat until-pass:2 "$@" || failed=1
  if [ "$own_wine" = yes ]; then
    build_for x86 -DBUILD_TESTING=ON --
    xvfb-run -a ctest --preset windows-x86 -j "$(nproc)" --repeat until-pass:2 "$@" || failed=1
  elif wait "$making"; then
    build_for x86 -DBUILD_TESTING=ON --
    with_wine_root "$(<"$root")" xvfb-run -a ctest --preset windows-x86 -j "$(nproc)" --repeat until-pass:2 "$@" || failed=1
  else
    build_for x86 -DBUILD_TESTING=OFF -- qmtrain_server qmtrain jetsql
    say "SKIPPED: the tests in 32 bits. The 32-bit library is built; nothing here runs it."
  fi
  rm -f "$root"
  return "$failed"
}
