# wxWidgets for Windows, cross-built from Debian's source package; sourced by build.sh.
# shellcheck shell=bash

# Where built libraries stay for the next time.
wxwidgets_cache() { printf '%s\n' "${XDG_CACHE_HOME:-$HOME/.cache}/qmtrain"; }

wxwidgets_version() { apt-cache show libwxgtk3.2-dev | sed -n 's/^Version: //p' | head -n 1; }

# Static, with the core, base and rich text libraries only. Pictures are decoded by Windows itself.
wxwidgets_options=(
  --disable-shared --enable-unicode --disable-debug --enable-optimise --disable-compat30 --without-subdirs
  --disable-sys-libs --without-libpng --without-libjpeg --without-libtiff --without-zlib --without-expat
  --without-liblzma --without-regex --without-opengl --disable-xrc --disable-html --disable-aui --disable-ribbon
  --disable-propgrid --enable-richtext --disable-stc --disable-mediactrl --disable-webview --disable-sockets --disable-svg --disable-webrequest --disable-debugreport
  --disable-precomp-headers
)

# The source package's folder under $1. The machine's own list of package sources is left as it is.
wxwidgets_source() {
  local place=$1 apt
  mkdir -p "$place/lists/partial" "$place/cache/archives/partial" "$place/sources"
  cp /etc/apt/sources.list.d/*.sources "$place/sources" 2>/dev/null || true
  sed -i 's/^Types:.*/Types: deb-src/' "$place"/sources/*.sources 2>/dev/null || true
  cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null | sed -n 's/^deb /deb-src /p' \
    >"$place/sources/plain.list"
  apt=(apt-get -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$place/sources"
    -o "Dir::State::lists=$place/lists" -o "Dir::Cache=$place/cache" -o APT::Sandbox::User=)
  "${apt[@]}" update >&2 || say "apt-get update failed; trying with the indexes that are there"
  (cd "$place" && "${apt[@]}" source wxwidgets3.2 >&2) || return 1
  printf '%s\n' "$place"/wxwidgets3.2-*/
}

# Prints the folder of the library for a compiler prefix such as x86_64-w64-mingw32, and builds it if need be.
wxwidgets() {
  local target=$1 key installed work source
  key=$(printf '%s ' "$(wxwidgets_version)" "$("$target-g++-posix" -dumpfullversion)" "${wxwidgets_options[@]}" |
    sha256sum | cut -c 1-12)
  installed=$(wxwidgets_cache)/wx-$target-$key
  if [ ! -x "$installed/bin/wx-config" ]; then
    say "Building wxWidgets for $target (once; some minutes)"
    work=$(mktemp -d)
    source=$(wxwidgets_source "$work") || { say "Debian's source of wxWidgets could not be fetched"; return 1; }
    mkdir -p "$work/build" "$(wxwidgets_cache)"
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
