#!/usr/bin/env bash
# Pi in Basic Swap against Ram Only through the real program: wall time,
# the arena the driver reserves, peak resident memory (/usr/bin/time -v) and
# bytes written to the swap folder (the file system's output blocks less the
# two digit files), in one table; and the disk's own sequential speed by dd
# with direct I/O. Usage: perf/pi_swap.sh [folder] [digits] [program]
# (the program is built in build-perf unless given).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
folder="$(realpath -m "${1:-build-perf/pi_swap}")"
digits="${2:-100000000}"
mkdir -p "$folder"

if [ -n "${3:-}" ]; then
  binary="$(realpath "$3")"
else
  cmake -S . -B build-perf -DCMAKE_BUILD_TYPE=Release -DNUMBRELLA_TESTS=OFF >/dev/null
  cmake --build build-perf -j2 --target numbrella >/dev/null
  binary="$(realpath build-perf/numbrella)"
fi

echo "== disk: dd, 1 GiB, direct I/O, in $folder"
dd if=/dev/zero of="$folder/dd_probe" bs=1M count=1024 oflag=direct 2>&1 | tail -1
dd if="$folder/dd_probe" of=/dev/null bs=1M iflag=direct 2>&1 | tail -1
rm -f "$folder/dd_probe"

# run MODE KEYS: one computation in a fresh folder; prints a table row.
run() {
  local mode="$1" keys="$2" work="$folder/${1// /_}"
  rm -rf "$work" && mkdir -p "$work/swap"
  printf '4\n3\n%s\n%s0\n\n' "$digits" "$keys" | /usr/bin/time -v "$binary" >"$work/out.txt" \
    2>"$work/time.txt" || true
  local total arena rss blocks files
  total=$(grep -a 'Total Time (including writing digits)' "$work/out.txt" | sed 's/.*:\s*//; s/ sec.*//; s/\x1b\[[0-9;]*m//g')
  arena=$(grep -a 'Allocating and Reserving Memory' "$work/out.txt" | sed 's/.*\.\.\.\s*//; s/\x1b\[[0-9;]*m//g')
  rss=$(awk -F': ' '/Maximum resident/ { printf "%.0f MB", $2 * 1024 / 1e6 }' "$work/time.txt")
  blocks=$(awk -F': ' '/File system outputs/ { print $2 }' "$work/time.txt")
  files=$(cat "$work"/Pi*.txt | wc -c)
  printf '| %-10s | %10s s | %8s | %8s | %8.0f MB |\n' "$mode" "$total" "$arena" "$rss" \
    "$(awk -v b="$blocks" -v f="$files" 'BEGIN { print (b * 512 - f) / 1e6 }')"
}

echo "== Pi, $digits digits"
echo "| mode       |       time |    arena | peak RSS | swap written |"
echo "|------------|------------|----------|----------|--------------|"
run "Ram Only" ""
run "Basic Swap" "8
2
9
1
$folder/Basic_Swap/swap
"
if cmp -s "$folder/Ram_Only/Pi - Dec - Chudnovsky.txt" "$folder/Basic_Swap/Pi - Dec - Chudnovsky.txt"; then
  echo "decimal digits: same"
else
  echo "decimal digits: DIFFER"
fi
