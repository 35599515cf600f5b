#!/usr/bin/env bash
# Builds the digit-file fuzz target with libFuzzer and AddressSanitizer and
# runs it. Usage: scripts/fuzz.sh [seconds] [extra libFuzzer options...]
# (default 60 seconds). Installs Debian's clang when it is missing. The
# corpus in fuzz/corpus seeds the run; new inputs go to build-fuzz/corpus.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds="${1:-60}"
shift || true

if ! command -v clang++ >/dev/null 2>&1; then
  sudo_cmd=""
  if [ "$(id -u)" != 0 ]; then sudo_cmd="sudo"; fi
  $sudo_cmd apt-get update -qq
  $sudo_cmd apt-get install -y -qq clang
fi

out=build-fuzz
mkdir -p "$out/corpus" "$out/artifacts"
sources=(
  fuzz/digit_files_fuzz.cpp
  src/digits/zdg_reader.cpp src/digits/zdg_writer.cpp src/digits/digit_input.cpp
  src/digits/digit_stream.cpp
  src/tools/digit_reader.cpp src/tools/view_range.cpp
  src/memory/heap.cpp src/memory/heap_split.cpp src/memory/heap_compact.cpp
  src/platform/console_fatal.cpp src/platform/console_input.cpp
  src/platform/console_output.cpp src/platform/console_progress.cpp src/platform/files.cpp
)
stale() {
  [ ! -x "$out/digit_files_fuzz" ] ||
    [ -n "$(find "${sources[@]}" -newer "$out/digit_files_fuzz" | head -1)" ] ||
    [ -n "$(find src -name '*.h' -newer "$out/digit_files_fuzz" | head -1)" ]
}
if stale; then
  clang++ -std=c++20 -O1 -g -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=undefined \
    -Isrc -Wl,--wrap=exit "${sources[@]}" -o "$out/digit_files_fuzz" -lpthread
fi

DIGIT_FUZZ_FOLDER="$PWD/$out/inputs" ASAN_OPTIONS="detect_leaks=0:${ASAN_OPTIONS:-}" \
  "$out/digit_files_fuzz" -max_total_time="$seconds" -max_len=8192 -timeout=10 \
  -detect_leaks=0 -rss_limit_mb=2048 -artifact_prefix="$out/artifacts/" \
  -print_final_stats=1 "$@" "$out/corpus" fuzz/corpus
