#!/usr/bin/env bash
# Coverage build (-O0 --coverage, in build-coverage/): runs the whole suite,
# then prints line and branch coverage of src/ per folder.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$root/scripts/install-deps.sh"
if ! command -v gcovr >/dev/null 2>&1; then
  sudo_cmd=()
  if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi
  "${sudo_cmd[@]}" apt-get update
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y gcovr
fi

build="$root/build-coverage"
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Debug -DNUMBRELLA_TESTS=ON \
  -DCMAKE_CXX_FLAGS_DEBUG="-O0 -g" -DCMAKE_CXX_FLAGS="--coverage -fprofile-update=atomic" \
  -DCMAKE_EXE_LINKER_FLAGS="--coverage" >/dev/null
cmake --build "$build" -j"$(nproc)"
find "$build" -name '*.gcda' -delete
(cd "$build" && ctest --output-on-failure -j"$(nproc)" "$@") || echo "(some tests failed; coverage below is of what ran)"

summary="$build/coverage.json"
gcovr --root "$root" --filter "$root/src/" --object-directory "$build" \
  --gcov-ignore-parse-errors --json-summary "$summary" --json-summary-pretty >/dev/null
python3 - "$summary" <<'PY'
import json, sys, collections
files = json.load(open(sys.argv[1]))["files"]
totals = collections.defaultdict(lambda: [0, 0, 0, 0])
for f in files:
    parts = f["filename"].split("/")
    folder = "/".join(parts[:-1]) if len(parts) > 1 else "."
    for key in (folder, "all"):
        t = totals[key]
        t[0] += f["line_covered"]; t[1] += f["line_total"]
        t[2] += f["branch_covered"]; t[3] += f["branch_total"]
def pct(a, b): return f"{100.0 * a / b:6.1f}%" if b else "     -"
print(f"{'folder':<28}{'lines':>16}{'line %':>9}{'branches':>18}{'branch %':>10}")
for key in sorted(k for k in totals if k != "all") + ["all"]:
    c, n, bc, bn = totals[key]
    print(f"{key:<28}{c:>7}/{n:<8}{pct(c, n):>9}{bc:>8}/{bn:<9}{pct(bc, bn):>10}")
PY
