# The tests of the Windows build under Wine; sourced by ./test.
# shellcheck shell=bash
# shellcheck source=tools/windows/wxwidgets.sh
source tools/windows/wxwidgets.sh
# shellcheck source=tools/windows/cross.sh
source tools/windows/cross.sh

wine_runs_32_bits() { compgen -G '/usr/lib/*/wine/i386-unix/ntdll.so' >/dev/null; }

# test_windows [CTEST OPTION…]
test_windows() {
  need_cross_tools
  need_packages wine wine64 libgtest-dev locales xvfb xauth fonts-wqy-microhei g++ mdbtools
  local werror=OFF
  [ "${CI:-}" = true ] && werror=ON
  build_for x64 -DQMTRAIN_WERROR="$werror" --
  if wine_runs_32_bits; then
    build_for x86 -DQMTRAIN_WERROR="$werror" --
    xvfb-run -a ctest --preset windows-x86 -j "$(nproc)" "$@"
  else
    build_for x86 -DQMTRAIN_WERROR="$werror" -DBUILD_TESTING=OFF -- qmtrain_server
    say "No 32-bit Wine here: the 32-bit library is built, its tests are not run."
  fi
  xvfb-run -a ctest --preset windows-x64 -j "$(nproc)" "$@"
}
