# The tests of the Windows build under Wine, in both word sizes; sourced by ./test.
# shellcheck shell=bash
# shellcheck source=tools/windows/wxwidgets.sh
source tools/windows/wxwidgets.sh
# shellcheck source=tools/windows/cross.sh
source tools/windows/cross.sh
# shellcheck source=tools/windows/wine32.sh
source tools/windows/wine32.sh

# test_windows [CTEST OPTION…]
test_windows() {
  need_cross_tools
  need_packages wine wine64 libgtest-dev locales xvfb xauth fonts-wqy-microhei g++ mdbtools
  local werror=OFF failed=0 own_wine=no root making
  [ "${CI:-}" = true ] && werror=ON
  compgen -G '/usr/lib/*/wine/i386-unix/ntdll.so' >/dev/null && own_wine=yes
  # It is fetched while the compiler works.
  root=$(mktemp)
  if [ "$own_wine" = no ]; then wine32_root >"$root" & else true & fi
  making=$!
  build_for x64 -DQMTRAIN_WERROR="$werror" --
  xvfb-run -a ctest --preset windows-x64 -j "$(nproc)" "$@" || failed=1
  if [ "$own_wine" = yes ]; then
    build_for x86 -DQMTRAIN_WERROR="$werror" --
    xvfb-run -a ctest --preset windows-x86 -j "$(nproc)" "$@" || failed=1
  elif wait "$making"; then
    build_for x86 -DQMTRAIN_WERROR="$werror" --
    with_wine32 "$(<"$root")" xvfb-run -a ctest --preset windows-x86 -j "$(nproc)" "$@" || failed=1
  else
    build_for x86 -DQMTRAIN_WERROR="$werror" -DBUILD_TESTING=OFF -- qmtrain_server
    say "SKIPPED: the tests in 32 bits. The 32-bit library is built; nothing here runs it."
  fi
  rm -f "$root"
  return "$failed"
}
