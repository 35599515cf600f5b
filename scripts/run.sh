#!/usr/bin/env bash
# Builds numbrella (Release, in build/) and starts it in the current folder,
# where it writes its digit files.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$root/build" --target numbrella -j"$(nproc)"
exec "$root/build/numbrella"
