#!/usr/bin/env bash
# Builds the unit tests with AddressSanitizer and UndefinedBehaviorSanitizer
# (in build-asan/) and runs them.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build-asan" -DCMAKE_BUILD_TYPE=Release -DNUMBRELLA_TESTS=ON \
  -DNUMBRELLA_SANITIZE=ON -DNUMBRELLA_NATIVE=ON >/dev/null
cmake --build "$root/build-asan" --target unit_tests -j"$(nproc)"

# LeakSanitizer needs ptrace, which some sandboxes refuse: probe it once.
leaks=1
probe="$(mktemp -d)"
printf 'int main() { return 0; }\n' > "$probe/probe.cpp"
if ! c++ -fsanitize=address "$probe/probe.cpp" -o "$probe/probe" 2>/dev/null ||
   ! ASAN_OPTIONS=detect_leaks=1 "$probe/probe" >/dev/null 2>&1; then
  leaks=0
fi
rm -rf "$probe"
# The program meets a refused allocation with its own fatal message, so
# malloc must be allowed to return null under the sanitizer too.
export ASAN_OPTIONS="detect_leaks=$leaks:allocator_may_return_null=1"
echo "Sanitizer run: ASAN_OPTIONS=$ASAN_OPTIONS"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"

cd "$root/build-asan"
ctest -L unit --output-on-failure -j"$(nproc)"
