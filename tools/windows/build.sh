#!/usr/bin/env bash
# Builds everything for 64- and 32-bit Windows, and what is handed out there: the installer and a ZIP file.
set -euo pipefail
cd "$(dirname "$0")/../.."
# shellcheck source=tools/setup.sh
source tools/setup.sh
# shellcheck source=tools/windows/wxwidgets.sh
source tools/windows/wxwidgets.sh
# shellcheck source=tools/windows/cross.sh
source tools/windows/cross.sh
# shellcheck source=tools/windows/package.sh
source tools/windows/package.sh

if [ $# -ne 0 ]; then
  say "usage: tools/windows/build.sh"
  say "Installs the cross compilers (Debian packages, as root or with sudo), builds wxWidgets once into a cache"
  say "($(libraries_cache)), the libraries and programs of both word sizes, build/QmTrainInfo-setup.exe and"
  say "build/QmTrainInfo-windows.zip."
  exit 2
fi

need_cross_tools
for word_size in x64 x86; do build_for "$word_size" -DBUILD_TESTING=OFF -- qmtrain_server qmtrain jetsql; done
windows_zip
windows_installer
