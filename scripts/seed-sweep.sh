#!/usr/bin/env bash
# Runs every test that draws from the tests' random source
# (testbridge::testRandom, which reads NUMBRELLA_SEED) under many seeds and
# prints, per test, how many seeds it held and which seeds failed.
#
#   scripts/seed-sweep.sh [-n SEEDS] [-s FIRST] [-j JOBS] [-x REGEX] [PATH...]
#
#   -n SEEDS  seeds per test (default 200): FIRST, FIRST + 1, ...
#   -s FIRST  first seed (default 1)
#   -j JOBS   runs at once (default: the processor count)
#   -x REGEX  leaves out the tests whose name matches (grep -E)
#   PATH      only the tests in files under these paths (default: tests/);
#             end-to-end tests (tests/e2e) run in their own program
#
# Builds the tests first (Release, in build/). The tests are found in
# the sources: a test uses the random source when its body calls
# testRandom, or calls a helper (a function, or the fixture) that does, in
# any test file or test header. Exits 1 when a seed failed.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
seeds=200
first=1
jobs="$(nproc)"
exclude=""
while getopts "n:s:j:x:" option; do
  case "$option" in
    n) seeds="$OPTARG" ;;
    s) first="$OPTARG" ;;
    j) jobs="$OPTARG" ;;
    x) exclude="$OPTARG" ;;
    *) sed -n '2,15p' "$0" >&2; exit 2 ;;
  esac
done
shift $((OPTIND - 1))
paths=("$@")
if [ "${#paths[@]}" -eq 0 ]; then paths=("$root/tests"); fi

"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release -DNUMBRELLA_TESTS=ON >/dev/null
cmake --build "$root/build" -j"$(nproc)" --target unit_tests e2e_tests numbrella >/dev/null

# The random tests, one gtest filter a line.
filters="$(python3 - "$root/tests" "${paths[@]}" <<'PY'
import os, re, sys

tests_root = os.path.realpath(sys.argv[1])
wanted = [os.path.realpath(p) for p in sys.argv[2:]]
test_macro = re.compile(r"^(TEST|TEST_F|TEST_P)\s*\(\s*(\w+)\s*,\s*(\w+)\s*\)")
# A definition that starts at column 0: a function or a struct (fixture).
function_start = re.compile(r"^(?!namespace|using|return|if|for|while|#)[A-Za-z_][\w:<>,*&\s]*?\b(\w+)\s*\(")
struct_start = re.compile(r"^(?:struct|class)\s+(\w+)")

definitions = []  # (kind, name, suite, macro, file, body)
for folder, _, names in os.walk(tests_root):
    if os.path.basename(folder) == "support":
        continue
    for name in sorted(names):
        if not name.endswith((".cpp", ".h")):
            continue
        path = os.path.join(folder, name)
        current = None
        for line in open(path, encoding="utf-8", errors="replace"):
            m = test_macro.match(line)
            s = struct_start.match(line)
            f = function_start.match(line)
            if m:
                current = ["test", m.group(3), m.group(2), m.group(1), path, []]
            elif s:
                current = ["helper", s.group(1), None, None, path, []]
            elif f and not line.startswith((" ", "\t", "}", "/")):
                current = ["helper", f.group(1), None, None, path, []]
            if current is not None:
                if not current[5]:
                    definitions.append(current)
                current[5].append(line)

def calls(body, name):
    return re.search(r"\b%s\b" % re.escape(name), body) is not None

bodies = [(d, "".join(d[5])) for d in definitions]
users = set()
changed = True
while changed:
    changed = False
    for d, body in bodies:
        key = (d[0], d[1], d[2], d[4])
        if key in users:
            continue
        helpers = {h[1] for h in definitions if (h[0], h[1], h[2], h[4]) in users and h[0] == "helper"}
        uses = "testRandom(" in body or any(calls(body, h) for h in helpers if h != d[1])
        if d[0] == "test" and d[3] != "TEST" and d[2] in helpers:
            uses = True  # the fixture draws
        if uses:
            users.add(key)
            changed = True

seen = set()
for d, _ in bodies:
    if d[0] != "test" or (d[0], d[1], d[2], d[4]) not in users:
        continue
    path = os.path.realpath(d[4])
    if not any(path == w or path.startswith(w + os.sep) for w in wanted):
        continue
    name = "%s.%s" % (d[2], d[1])
    text = "*/%s/*" % name if d[3] == "TEST_P" else name
    # End-to-end tests live in their own program.
    if os.sep + "e2e" + os.sep in path:
        text = "e2e:" + text
    if text not in seen:
        seen.add(text)
        print(text)
PY
)"
if [ -n "$exclude" ]; then filters="$(grep -v -E -- "$exclude" <<<"$filters" || true)"; fi
if [ -z "$filters" ]; then
  echo "No test under ${paths[*]} draws from the random source."
  exit 0
fi

# One run: prints "FILTER SEED" when the test failed under the seed.
run_one() {
  local filter="$1" seed="$2" binary="$build/tests/unit_tests"
  if [ "${filter#e2e:}" != "$filter" ]; then binary="$build/tests/e2e_tests"; fi
  if ! NUMBRELLA_SEED="$seed" "$binary" --gtest_filter="${filter#e2e:}" --gtest_brief=1 \
       >/dev/null 2>&1; then
    echo "$filter $seed"
  fi
}
export -f run_one
build="$root/build"
export build

failures="$(mktemp)"
trap 'rm -f "$failures"' EXIT
count="$(wc -l <<<"$filters")"
while IFS= read -r filter; do

  for ((seed = first; seed < first + seeds; seed++)); do
    printf '%s\n%s\n' "$filter" "$seed"  # two lines: xargs -n 2 takes both
  done
done <<<"$filters" | xargs -P "$jobs" -n 2 -d '\n' bash -c 'run_one "$1" "$2"' _ >"$failures" ||
  true
status=0
while IFS= read -r filter; do
  failed="$(awk -v f="$filter" '$1 == f { print $2 }' "$failures" | sort -n | tr '\n' ' ')"
  held=$((seeds - $(awk -v f="$filter" '$1 == f' "$failures" | wc -l)))
  if [ -n "$failed" ]; then
    status=1
    printf '%-72s held %d of %d seeds; failing seeds: %s\n' "$filter" "$held" "$seeds" "$failed"
  else
    printf '%-72s held %d of %d seeds\n' "$filter" "$held" "$seeds"
  fi
done <<<"$filters"
echo "$count tests, seeds $first to $((first + seeds - 1))"
exit "$status"
