#!/bin/sh
# Formats all C and C++ sources in place; with --check only reports those that differ.
set -eu

cd "$(dirname "$0")/.."
mode="-i"
[ "${1:-}" != --check ] || mode="--dry-run --Werror"
# shellcheck disable=SC2086 # options
git ls-files --cached --others --exclude-standard '*.c' '*.cpp' '*.h' | xargs clang-format $mode
