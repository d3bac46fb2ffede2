#!/bin/sh
# Runs clang-tidy over the sources of the libraries, the tool and the examples, by the compile commands of the release
# build.
set -eu

cd "$(dirname "$0")/.."
cmake --preset release >/dev/null
# clang does not know the options for copies.
mkdir -p build/lint
sed 's/ -mmem[a-z]*-strategy=[^ ]*//g' build/release/compile_commands.json >build/lint/compile_commands.json
git ls-files --cached --others --exclude-standard 'src/*.cpp' 'catalogue/*.cpp' 'tools/*.cpp' 'examples/*.cpp' |
    xargs --max-args=1 --max-procs="$(nproc)" clang-tidy -p build/lint --quiet
# What is guarded is touched by who holds the guard only: src/support/guarded.h.
git ls-files --cached --others --exclude-standard 'src/*.cpp' |
    xargs clang++ -std=c++20 -Iinclude -Isrc -DVECTABLE_VERSION='""' -DVECTABLE_BUILD_TYPE='""' \
        -fsyntax-only -Wthread-safety -Werror
