# The fuzz targets; sourced by ./test. What they find to start from next time stays in build/fuzz/corpus.
# shellcheck shell=bash

# fuzz_one TARGET PROGRAM SECONDS [LIBFUZZER OPTION…]: stops with the input that did it when anything goes wrong.
fuzz_one() {
  local target=$1 program=$2 seconds=$3
  shift 3
  say "$target, $seconds seconds"
  # Freed memory is kept for a while so that its use is noticed; by itself that would fill the limit.
  ASAN_OPTIONS=quarantine_size_mb=8 "$program" -max_total_time="$seconds" -rss_limit_mb=256 -timeout=60 \
    -len_control=0 -print_final_stats=1 -verbosity=0 -artifact_prefix="build/fuzz/$target-" "$@" \
    "build/fuzz/corpus/$target"
}

# fuzz_all SECONDS
fuzz_all() {
  local seconds=$1 programs=build/fuzz/tests sample samples=${QMTRAIN_SAMPLES:-../shared/data/mdb}
  need_packages cmake ninja-build clang libgtest-dev libsqlite3-dev libwxgtk3.2-dev libpugixml-dev \
    libxml2-dev libcli11-dev nlohmann-json3-dev libcairo2-dev pkg-config unixodbc-dev
  build fuzz -- fuzz_jet_read fuzz_jet_write fuzz_jet_journal fuzz_rtf fuzz_parser fuzz_gift fuzz_aiken fuzz_csv \
    fuzz_moodlexml
  mkdir -p build/fuzz/corpus/{jet_read,jet_write,jet_journal,rtf,sql,gift,aiken,csv,moodlexml}
  "$programs/fuzz/fuzz_jet_read" -seeds=build/fuzz/corpus/jet_read
  for sample in "$samples"/*.mdb "$samples"/*/*.mdb; do
    if [ -f "$sample" ] && [ "$(stat -c %s "$sample")" -lt 400000 ]; then cp "$sample" build/fuzz/corpus/jet_read; fi
  done
  fuzz_one jet_read "$programs/fuzz/fuzz_jet_read" "$seconds" -max_len=400000
  fuzz_one jet_write "$programs/fuzz/fuzz_jet_write" "$seconds" -max_len=256
  fuzz_one jet_journal "$programs/fuzz/fuzz_jet_journal" "$seconds" -max_len=20000
  fuzz_one rtf "$programs/fuzz/fuzz_rtf" "$seconds" -max_len=4096 -dict=tests/fuzz/rtf.dict
  fuzz_one sql "$programs/sql/fuzz_parser" "$seconds" -max_len=1000
  for sample in gift aiken csv moodlexml; do
    fuzz_one "$sample" "$programs/fuzz/fuzz_$sample" "$seconds" -max_len=4096 -dict=tests/fuzz/questions.dict
  done
}
