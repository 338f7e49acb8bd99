# Checks of the sources themselves, and the fast tests with the sanitizers; sourced by ./test.
# shellcheck shell=bash

# What clang-tidy looks at takes half a minute a file: so many files, and no more seconds in all.
tidy_files=8
tidy_seconds=120

# The commit from which on files count as changed: where this branch left main, on main itself the commit before.
# Nothing where there is no history to tell.
changed_since() {
  local base
  git rev-parse --is-shallow-repository >/dev/null 2>&1 || return 0
  base=$(git merge-base HEAD origin/main 2>/dev/null || git merge-base HEAD main 2>/dev/null || true)
  if [ -z "$base" ] || [ "$base" = "$(git rev-parse HEAD)" ]; then
    base=$(git rev-parse --verify --quiet 'HEAD~1' || true)
  fi
  printf '%s' "$base"
}

# Sources that this machine compiles, of those changed since the commit.
changed_sources() {
  git diff --name-only --diff-filter=d "$1" -- 'src/*.cpp' 'tools/*.cpp' |
    grep -vE '_windows\.cpp$|^src/(server|automation)/|^src/dao/com_' || true
}

# All files are formatted; those that changed are read by clang-tidy as far as the time goes.
check_style() {
  local base sources=() left=0 status=0
  need_packages clang-format clang-tidy
  say "Formatting of all files"
  find src tests bench tools '(' -name '*.h' -o -name '*.cpp' ')' -print0 |
    xargs -0 -P "$(nproc)" -n 50 clang-format --dry-run -Werror || return 1
  base=$(changed_since)
  if [ -z "$base" ]; then
    say "NOT CHECKED by clang-tidy: there is no history that tells which files have changed."
    return 0
  fi
  mapfile -t sources < <(changed_sources "$base")
  if [ "${#sources[@]}" -eq 0 ]; then
    say "clang-tidy: no source has changed since ${base:0:10}."
    return 0
  fi
  left=$((${#sources[@]} > tidy_files ? ${#sources[@]} - tidy_files : 0))
  if [ ! -f build/dev/compile_commands.json ]; then
    cmake --preset dev -DQMTRAIN_BENCH=OFF >/dev/null
  fi
  say "clang-tidy: $((${#sources[@]} - left)) of ${#sources[@]} sources that have changed since ${base:0:10}"
  local failed
  failed=$(mktemp)
  # shellcheck disable=SC2016  # expanded by the inner shell
  printf '%s\n' "${sources[@]:0:tidy_files}" |
    FAILED=$failed timeout "$tidy_seconds" xargs -P "$(nproc)" -n 1 bash -c '
      clang-tidy -p build/dev --quiet --extra-arg=-Wno-unknown-warning-option "$0" || echo "$0" >>"$FAILED"' || status=$?
  if [ "$status" -eq 124 ]; then
    say "NOT CHECKED by clang-tidy: what was left after $tidy_seconds seconds."
    status=0
  fi
  if [ -s "$failed" ]; then status=1; fi
  rm -f "$failed"
  if [ "$left" -gt 0 ]; then
    say "NOT CHECKED by clang-tidy:" "${sources[@]:tidy_files}"
  fi
  return "$status"
}

# The rooms below the windows, in a build that is made for this alone: little optimised, with precompiled headers.
sanitized_rooms=(core sql jet dao bank records learning document exchange)

# test_sanitized SECONDS [CTEST OPTION…]: room after room; none is begun after so many seconds.
test_sanitized() {
  local end=$((SECONDS + $1)) room linker=() left=()
  shift
  if [ -n "$(command -v ld.lld)" ]; then linker=(-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld); fi
  for room in "${sanitized_rooms[@]}"; do
    if [ "$SECONDS" -ge "$end" ]; then
      left+=("$room")
      continue
    fi
    say "$room, with the sanitizers"
    build asan-fast "${linker[@]}" -- "tests/$room/all" || return 1
    ctest --test-dir "build/asan-fast/tests/$room" -j "$(nproc)" --output-on-failure --timeout 300 "$@" || return 1
  done
  if [ "${#left[@]}" -gt 0 ]; then say "NOT RUN with the sanitizers for want of time:" "${left[@]}"; fi
}
