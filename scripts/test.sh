#!/usr/bin/env bash
# Builds numbrella and all its tests (Release, in build/) and runs the whole
# suite: unit tests and end-to-end tests of the real program.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release -DNUMBRELLA_TESTS=ON >/dev/null
cmake --build "$root/build" -j"$(nproc)"
cd "$root/build"
ctest --output-on-failure -j"$(nproc)"
