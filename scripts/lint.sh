#!/bin/sh
# Runs clang-tidy over the library's sources, by the compile commands of the release build.
set -eu

cd "$(dirname "$0")/.."
cmake --preset release >/dev/null
git ls-files --cached --others --exclude-standard 'src/*.cpp' |
    xargs --max-args=1 --max-procs="$(nproc)" clang-tidy -p build/release --quiet
