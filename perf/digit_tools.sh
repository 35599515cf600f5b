#!/usr/bin/env bash
# The digit tools against the disk: the disk's sequential write and read
# speed by dd with direct I/O, then compressing, decompressing and comparing
# 100,000,000 digits (perf/digit_tools_bench.cpp), then cmp on the same two
# text files. Usage: perf/digit_tools.sh [folder] [digits]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
folder="$(realpath "${1:-build-perf}")"
digits="${2:-100000000}"
mkdir -p "$folder"

cmake -S . -B build-perf -DCMAKE_BUILD_TYPE=Release -DNUMBRELLA_TESTS=OFF -DNUMBRELLA_PERF=ON >/dev/null
cmake --build build-perf -j2 --target digit_tools_bench >/dev/null

echo "== disk: dd, 1 GiB, direct I/O, in $folder"
dd if=/dev/zero of="$folder/dd_probe" bs=1M count=1024 oflag=direct 2>&1 | tail -1
dd if="$folder/dd_probe" of=/dev/null bs=1M iflag=direct 2>&1 | tail -1
rm -f "$folder/dd_probe"

echo "== digit tools"
DIGIT_BENCH_KEEP=1 build-perf/perf/digit_tools_bench --digits "$digits" --folder "$folder"

echo "== cmp on the same two text files"
for round in 1 2 3; do
  start=$(date +%s.%N)
  cmp "$folder/bench_source.txt" "$folder/bench_back.txt"
  end=$(date +%s.%N)
  awk -v s="$start" -v e="$end" -v n="$digits" 'BEGIN { printf "cmp text / text         wall %7.3f s %8.1f MB/s\n", e - s, n / (e - s) / 1e6 }'
done
( time cmp "$folder/bench_source.txt" "$folder/bench_back.txt" ) 2>&1 | grep -E 'user|sys'
rm -f "$folder/bench_source.txt" "$folder/bench_back.txt" "$folder/bench_digits.zdg"
