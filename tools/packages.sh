# The Debian packages and their test in a system of their own; sourced by ./test.
# shellcheck shell=bash

# Builds build/packages/*.deb, asks lintian, installs them in a fresh system, uses and removes them there.
test_packages() {
  # shellcheck source=tools/windows/roots.sh
  source tools/windows/roots.sh  # roots
  need_packages cmake ninja-build g++ libwxgtk3.2-dev libpugixml-dev libxml2-dev libcli11-dev nlohmann-json3-dev libcairo2-dev pkg-config unixodbc-dev \
    dpkg-dev file lintian debootstrap desktop-file-utils xvfb xauth \
    imagemagick
  # Not for the whole program at once: libraries so made have no code that another compiler's linker could use.
  build release -DBUILD_TESTING=OFF -DQMTRAIN_BENCH=OFF -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INTERPROCEDURAL_OPTIMIZATION=OFF \
    -DCMAKE_EXE_LINKER_FLAGS="-Wl,-z,relro,-z,now" --
  rm -rf build/packages
  (cd build/release && cpack -G DEB -B "$OLDPWD/build/packages" >&2)
  lintian --fail-on error --no-tag-display-limit build/packages/*.deb
  desktop-file-validate packaging/linux/qmtrain.desktop
  local root folder status=0
  root=$(bare_root) || { say "SKIPPED: the packages are not installed anywhere."; return 0; }
  folder=$(mktemp -d)
  as_root cp -a "$root" "$folder/root"
  as_root mkdir "$folder/root/packages"
  as_root cp build/packages/*.deb tools/packages_inside.sh "$folder/root/packages/"
  as_root cp /etc/resolv.conf "$folder/root/etc/resolv.conf"
  xvfb-run -a -s '-screen 0 1280x1024x24' bash tools/packages_root.sh "$folder/root" "$PWD/build/packages" || status=1
  as_root rm -rf "$folder"
  return "$status"
}
