# What is handed out for Windows: the ZIP file and the installer, of what has been built; sourced by build.sh and test.sh.
# shellcheck shell=bash

# Text as Chinese Windows reads it: its code page, its line ends.
as_windows_text() { sed 's/$/\r/' "$1" | iconv -f UTF-8 -t GB18030 >"$2"; }

# The files of a word size and those of both, under $1.
windows_payload() {
  local folder=$1 word_size built name
  rm -rf "$folder"
  mkdir -p "$folder/x64" "$folder/x86" "$folder/samples"
  for word_size in x64 x86; do
    built=build/windows-$word_size
    cp "$built/src/server/QmTrainInfo.dll" "$built/src/server/QmTrainInfo.Server.manifest" "$built/src/host/qmtrain.exe" \
      "$built/tools/jetsql/jetsql.exe" "$folder/$word_size/"
  done
  cp build/windows-x86/src/server/generated/server/qmtraininfo.tlb "$folder/QmTrainInfo.tlb"
  cp src/server/qmtraininfo.idl src/server/record_sets.idl src/server/data_objects.idl samples/host.cpp samples/late.cpp samples/practice.cs \
    "$folder/samples/"
  for name in practice.vbs practice.js practice.bas; do as_windows_text "samples/$name" "$folder/samples/$name"; done
  as_windows_text tools/windows/package/readme.txt "$folder/readme.txt"
}

# build/QmTrainInfo-windows.zip, for who copies a folder and registers it.
windows_zip() {
  local package=build/package/QmTrainInfo name
  windows_payload "$package"
  for name in register.cmd unregister.cmd; do as_windows_text "tools/windows/package/$name" "$package/$name"; done
  rm -f build/QmTrainInfo-windows.zip
  (cd build/package && cmake -E tar cf ../QmTrainInfo-windows.zip --format=zip QmTrainInfo)
  say "build/QmTrainInfo-windows.zip"
}

# build/QmTrainInfo-setup.exe
windows_installer() {
  local version
  version=$(sed -n 's/^project(QmTrainInfo VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
  windows_payload build/package/payload
  (cd packaging/windows && makensis -V2 -WX -INPUTCHARSET UTF8 "-DVERSION=$version" \
    "-DPAYLOAD=$OLDPWD/build/package/payload" "-DOUTPUT=$OLDPWD/build/QmTrainInfo-setup.exe" installer.nsi) >&2
  say "build/QmTrainInfo-setup.exe"
}
