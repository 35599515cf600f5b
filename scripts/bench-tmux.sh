#!/usr/bin/env bash
# Runs the benchmark as a person does, in a terminal: option 0 at the
# smallest power-of-two size, then option 1 typed with the fields of the
# Validation.txt it wrote. The program runs inside tmux (a real terminal,
# so colours are on), keys are sent with send-keys, and the screens are
# saved with their escape codes. Then the same benchmark through a pipe
# must show no escape code at all.
#
#   scripts/bench-tmux.sh [build-dir] [row]
#
# build-dir defaults to build. row 0 (the default) is the smallest
# power-of-two size, 1,048,576 digits; rows 1 to 12 are the standard sizes
# (1: 25,000,000 digits, a few minutes on two cores; the pipe run is then
# skipped, as it would repeat it).
set -euo pipefail
build=$(realpath "${1:-build}")
row=${2:-0}
binary="$build/numbrella"
work=$(mktemp -d)
session="numbrella-bench-$$"
trap 'tmux kill-session -t "$session" 2>/dev/null || true; rm -rf "$work"' EXIT

# Waits until the pane shows `text` (at most `limit` seconds).
wait_for() {
  local text=$1 limit=$2
  for ((i = 0; i < limit * 4; i++)); do
    if tmux capture-pane -p -t "$session" -S -200 | grep -qF -- "$text"; then return 0; fi
    sleep 0.25
  done
  echo "timed out waiting for: $text" >&2
  tmux capture-pane -p -t "$session" -S -200 >&2
  exit 1
}

run_in_tmux() {
  tmux kill-session -t "$session" 2>/dev/null || true
  tmux new-session -d -s "$session" -x 100 -y 50 -c "$work" "$binary; sleep 600"
  wait_for "Enter your choice:" 20
}

multi=$([ "$(nproc)" -gt 1 ] && echo yes || echo no)

run_in_tmux
tmux send-keys -t "$session" "0" Enter
if [ "$multi" = yes ]; then
  wait_for "Select a Benchmark Type:" 10
  tmux send-keys -t "$session" "1" Enter
fi
wait_for "I prefer SuperPi sizes" 10
tmux send-keys -t "$session" "$row" Enter
if [ "$row" = 0 ]; then
  wait_for "1,048,576" 10
  tmux send-keys -t "$session" "20" Enter
fi
wait_for "Press any key to continue" 3600
tmux capture-pane -e -p -t "$session" -S -200 > "$work/benchmark-screen.txt"
tmux send-keys -t "$session" "x"
sed 's/\x1b\[[0-9;]*m//g' "$work/benchmark-screen.txt" > "$work/benchmark-plain.txt"
grep -q "Benchmark Successful. The digits appear to be OK." "$work/benchmark-plain.txt"
grep -q "checked by BBP digit extraction: OK" "$work/benchmark-plain.txt"
if ! grep -q $'\x1b\\[' "$work/benchmark-screen.txt"; then
  echo "no colours on the terminal" >&2
  exit 1
fi

field() { grep "^$1" "$work/Validation.txt" | sed "s/^$1 *//; s/\r\$//"; }
name=$(field "Processor(s):")
hz=$(field "CPU Frequency:")
threads=$(field "Thread(s):" | sed 's/^2^//')
digits=$(field "Digits:")
time=$(field "Total Time:")
checksum=$(field "Checksum:")

run_in_tmux
tmux send-keys -t "$session" "1" Enter
wait_for "Program Version (exactly as written)" 10
tmux send-keys -t "$session" "0.4.3 Build 7681 (x64 SSE3)" Enter
wait_for "Processor (exactly as written):" 10
tmux send-keys -t "$session" -l "$name"
tmux send-keys -t "$session" Enter
wait_for "CPU Frequency (no commas):" 10
tmux send-keys -t "$session" "$hz" Enter
wait_for "Threads:" 10
tmux send-keys -t "$session" "$threads" Enter
wait_for "Digits (no commas):" 10
tmux send-keys -t "$session" "$digits" Enter
wait_for "Checksum (all lowercase):" 10
tmux send-keys -t "$session" "$checksum" Enter
wait_for "Press any key to continue" 10
tmux capture-pane -e -p -t "$session" -S -200 > "$work/validate-screen.txt"
validated=$(sed 's/\x1b\[[0-9;]*m//g' "$work/validate-screen.txt" | grep -o 'Validated Time: [0-9.e+]*' |
            sed 's/Validated Time: //')
echo "Validation.txt time: $time   validated time: $validated"
awk -v a="$time" -v b="$validated" 'BEGIN { d = a - b; if (d < 0) d = -d; exit !(d < 0.0011) }'

if [ "$row" != 0 ]; then
  echo "tmux benchmark and validation: OK (colours on the terminal)"
  exit 0
fi

# The same benchmark through a pipe: no escape codes.
input=$'0\n'
if [ "$multi" = yes ]; then input+=$'1\n'; fi
input+=$'0\n20\n'
piped=$(cd "$work" && printf '%s' "$input" | "$binary")
if printf '%s' "$piped" | grep -q $'\x1b'; then
  echo "escape codes in a pipe" >&2
  exit 1
fi
printf '%s' "$piped" | grep -q "Benchmark Successful. The digits appear to be OK."
echo "tmux benchmark and validation: OK (colours on the terminal, none in a pipe)"
