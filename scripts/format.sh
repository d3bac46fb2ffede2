#!/bin/sh
# Formats all C and C++ sources in place; with --check only reports those that differ, and lines of more than
# 120 columns in any source: the formatter leaves comments alone.
set -eu

cd "$(dirname "$0")/.."
sources() {
    git ls-files --cached --others --exclude-standard "$@"
}

if [ "${1:-}" != --check ]; then
    sources '*.c' '*.cpp' '*.h' | xargs clang-format -i
    exit
fi
sources '*.c' '*.cpp' '*.h' | xargs clang-format --dry-run --Werror
if sources '*.c' '*.cpp' '*.h' '*.py' '*.sh' '*.cmake' '*CMakeLists.txt' .ci/run |
    LC_ALL=C.UTF-8 xargs grep -nE '^.{121}' >&2; then
    echo "the lines above are longer than 120 columns" >&2
    exit 1
fi
