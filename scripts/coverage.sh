#!/bin/sh
# Runs the tests with counters and prints what of the library's lines and branches they reach.
set -eu

cd "$(dirname "$0")/.."
scripts/setup.sh gcovr
cmake --preset coverage >/dev/null
cmake --build --preset coverage
find build/coverage -name '*.gcda' -delete
ctest --preset coverage
gcovr --root . --filter 'src/' --exclude-throw-branches --exclude-unreachable-branches build/coverage "$@"
gcovr --root . --filter 'src/' --exclude-throw-branches --exclude-unreachable-branches --branches \
    build/coverage | tail -4
