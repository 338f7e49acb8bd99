# wxWidgets for Windows, cross-built from Debian's source package; sourced by build.sh and by ./test.
# shellcheck shell=bash
# shellcheck source=tools/windows/libraries.sh
source tools/windows/libraries.sh

# Static, with the core, base and rich text libraries and what these need. Pictures are decoded by Windows itself.
wxwidgets_options=(
  --disable-shared --enable-unicode --disable-debug --enable-optimise --disable-compat30 --without-subdirs
  --disable-sys-libs --without-libpng --without-libjpeg --without-libtiff --without-zlib --without-expat
  --without-liblzma --without-regex --without-opengl --disable-xrc --enable-html --disable-aui --disable-ribbon
  --disable-propgrid --enable-richtext --disable-stc --disable-mediactrl --disable-webview --disable-sockets --disable-svg --disable-webrequest --disable-debugreport
  --enable-precomp-headers
)

# Prints the folder of the library for a compiler prefix such as x86_64-w64-mingw32, and builds it if need be.
wxwidgets() {
  local target=$1 key installed work source
  key=$(printf '%s ' "$(debian_version libwxgtk3.2-dev)" "$("$target-g++-posix" -dumpfullversion)" "${wxwidgets_options[@]}" |
    sha256sum | cut -c 1-12)
  installed=$(libraries_cache)/wx-$target-$key
  if [ ! -x "$installed/bin/wx-config" ]; then
    say "Building wxWidgets for $target (once; some minutes)"
    work=$(mktemp -d)
    source=$(debian_source "$work" wxwidgets3.2) || { say "Debian's source of wxWidgets could not be fetched"; return 1; }
    mkdir -p "$work/build" "$(libraries_cache)"
    if ! (
      cd "$work/build"
      "$source/configure" --host="$target" --prefix="$installed" CC="$target-gcc-posix" CXX="$target-g++-posix" \
        "${wxwidgets_options[@]}" && make -j"$(nproc)" && make install
    ) >"$work/log" 2>&1; then
      tail -n 40 "$work/log" >&2
      rm -rf "$installed"
      return 1
    fi
    rm -rf "$work"
  fi
  printf '%s\n' "$installed"
}
