# The cross build for Windows; sourced by build.sh and by ./test.
# shellcheck shell=bash

need_cross_tools() {
  need_packages cmake ninja-build make dpkg-dev g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools \
    wine64 libwine-dev nsis
}

# build_for x64|x86 [CMAKE OPTION…] -- [TARGET…]
build_for() {
  local word_size=$1 target
  shift
  case $word_size in
    x64) target=x86_64-w64-mingw32 ;;
    x86) target=i686-w64-mingw32 ;;
  esac
  local toolkit libraries
  toolkit=$(wxwidgets "$target")
  libraries=$(exchange_libraries "$target")
  build "windows-$word_size" -DQMTRAIN_WINDOWS=ON -DQMTRAIN_WXWIDGETS="$toolkit" \
    -DQMTRAIN_LIBRARIES="$libraries" "$@"
}
