#!/usr/bin/env bash
# Installs the Debian packages that building and testing numbrella needs,
# skipping the step entirely when all of them are already installed.
# The program itself needs only a C++20 compiler and CMake; the tests use
# GoogleTest, GMP and MPFR as oracles, the benchmark programs also FLINT/Arb.
set -euo pipefail

packages=(g++ cmake make libgtest-dev libgmp-dev libmpfr-dev libflint-arb-dev)

missing=()
for package in "${packages[@]}"; do
  if ! dpkg -s "$package" >/dev/null 2>&1; then
    missing+=("$package")
  fi
done

if [ "${#missing[@]}" -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
  sudo_cmd=(sudo)
fi
"${sudo_cmd[@]}" apt-get update
DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y "${missing[@]}"
