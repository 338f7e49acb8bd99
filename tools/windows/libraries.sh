# Libraries for Windows, cross-built from Debian's source packages; sourced by build.sh and by ./test.
# shellcheck shell=bash

# Where built libraries stay for the next time.
libraries_cache() { printf '%s\n' "${XDG_CACHE_HOME:-$HOME/.cache}/qmtrain"; }

# The version of a Debian package, as the machine's indexes have it.
debian_version() { apt-cache show "$1" | sed -n 's/^Version: //p' | head -n 1; }

# Fetches the source package $2 into $1 and prints its folder. The machine's own list of package sources is left as it
# is.
debian_source() {
  local place=$1 package=$2 apt
  mkdir -p "$place/lists/partial" "$place/cache/archives/partial" "$place/sources"
  cp /etc/apt/sources.list.d/*.sources "$place/sources" 2>/dev/null || true
  sed -i 's/^Types:.*/Types: deb-src/' "$place"/sources/*.sources 2>/dev/null || true
  cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null | sed -n 's/^deb /deb-src /p' \
    >"$place/sources/plain.list"
  apt=(apt-get -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$place/sources"
    -o "Dir::State::lists=$place/lists" -o "Dir::Cache=$place/cache" -o APT::Sandbox::User=)
  if [ ! -e "$place/updated" ]; then
    "${apt[@]}" update >&2 || say "apt-get update failed; trying with the indexes that are there"
    touch "$place/updated"
  fi
  (cd "$place" && "${apt[@]}" source "$package" >&2) || return 1
  printf '%s\n' "$place/$package"-*/
}

exchange_packages=(libxml2 pugixml cli11 nlohmann-json3)

# Prints the folder of what reads and writes questions of other programs, for a compiler prefix such as
# x86_64-w64-mingw32: pugixml, the HTML reader of libxml2, CLI11, nlohmann-json. Builds it if need be.
exchange_libraries() {
  local target=$1 key installed work package part source options
  key=$(printf '%s ' "$(debian_version libxml2)" "$(debian_version libpugixml-dev)" "$(debian_version libcli11-dev)" \
    "$(debian_version nlohmann-json3-dev)" \
    "$("$target-g++-posix" -dumpfullversion)" | sha256sum | cut -c 1-12)
  installed=$(libraries_cache)/exchange-$target-$key
  if [ ! -e "$installed/built" ]; then
    say "Building ${exchange_packages[*]} for $target (once)"
    work=$(mktemp -d)
    for package in "${exchange_packages[@]}"; do
      source=$(debian_source "$work" "$package") || { say "Debian's source of $package could not be fetched"; return 1; }
      case $package in
        libxml2)
          options=(-DLIBXML2_WITH_TESTS=OFF -DLIBXML2_WITH_PROGRAMS=OFF)
          for part in C14N CATALOG DEBUG DOCB FTP HTTP ICONV ICU ISO8859X LEGACY LZMA MEM_DEBUG MODULES PATTERN PYTHON \
            READER REGEXPS RUN_DEBUG SCHEMAS SCHEMATRON VALID WRITER XINCLUDE XPATH XPTR ZLIB; do
            options+=("-DLIBXML2_WITH_$part=OFF")
          done
          ;;
        pugixml) options=(-DPUGIXML_BUILD_TESTS=OFF) ;;
        nlohmann-json3) options=(-DJSON_BuildTests=OFF) ;;
        cli11) options=(-DCLI11_BUILD_TESTS=OFF -DCLI11_BUILD_EXAMPLES=OFF -DCLI11_BUILD_DOCS=OFF) ;;
      esac
      if ! {
        cmake -S "$source" -B "$work/build-$package" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF \
          -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_C_COMPILER="$target-gcc-posix" -DCMAKE_CXX_COMPILER="$target-g++-posix" \
          -DCMAKE_RC_COMPILER="$target-windres" -DCMAKE_FIND_ROOT_PATH="/usr/$target" \
          -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY \
          -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=ONLY -DCMAKE_INSTALL_PREFIX="$installed" "${options[@]}" &&
          cmake --build "$work/build-$package" && cmake --install "$work/build-$package"
      } >"$work/log" 2>&1; then
        tail -n 40 "$work/log" >&2
        rm -rf "$installed"
        return 1
      fi
    done
    rm -rf "$work"
    touch "$installed/built"
  fi
  printf '%s\n' "$installed"
}
