#!/usr/bin/env bash
# Builds QmTrainInfo.dll for 64- and 32-bit Windows, and the ZIP file with which it is handed out.
set -euo pipefail
cd "$(dirname "$0")/../.."
# shellcheck source=tools/setup.sh
source tools/setup.sh
# shellcheck source=tools/windows/wxwidgets.sh
source tools/windows/wxwidgets.sh
# shellcheck source=tools/windows/cross.sh
source tools/windows/cross.sh

if [ $# -ne 0 ]; then
  say "usage: tools/windows/build.sh"
  say "Installs the cross compilers (Debian packages, as root or with sudo), builds wxWidgets once into a cache"
  say "($(wxwidgets_cache)), both libraries, and build/QmTrainInfo-windows.zip."
  exit 2
fi

need_cross_tools
build_for x64 -DBUILD_TESTING=OFF -- qmtrain_server
build_for x86 -DBUILD_TESTING=OFF -- qmtrain_server

# Text as Chinese Windows reads it: its code page, its line ends.
as_windows_text() { sed 's/$/\r/' "$1" | iconv -f UTF-8 -t GB18030 >"$2"; }

package=build/package/QmTrainInfo
rm -rf build/package
mkdir -p "$package/x64" "$package/x86" "$package/samples"
for word_size in x64 x86; do
  cp "build/windows-$word_size/src/server/QmTrainInfo.dll" "build/windows-$word_size/src/server/QmTrainInfo.manifest" \
    "$package/$word_size/"
done
cp build/windows-x86/src/server/generated/server/qmtraininfo.tlb "$package/QmTrainInfo.tlb"
cp src/server/qmtraininfo.idl src/server/record_sets.idl src/server/data_objects.idl samples/host.cpp "$package/samples/"
as_windows_text samples/practice.vbs "$package/samples/practice.vbs"
as_windows_text tools/windows/package/register.cmd "$package/register.cmd"
as_windows_text tools/windows/package/unregister.cmd "$package/unregister.cmd"
as_windows_text tools/windows/package/readme.txt "$package/readme.txt"
rm -f build/QmTrainInfo-windows.zip
(cd build/package && cmake -E tar cf ../QmTrainInfo-windows.zip --format=zip QmTrainInfo)
say "build/QmTrainInfo-windows.zip"
