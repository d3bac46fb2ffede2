#!/bin/sh
# Builds the library and runs every test.
set -eu

cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release
ctest --preset release
