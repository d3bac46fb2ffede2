#!/bin/sh
# Fuzzes the loads and the calls, half of the given seconds each, from the corpus and the hand-worked files on. What
# fails is left in tests/fuzz/findings/, which the tests replay. With a second argument the corpus in tests/fuzz/corpus/
# is replaced by the fewest inputs that reach the same.
set -eu

[ $# -ge 1 ] || { echo "usage: $0 SECONDS [merge]" >&2; exit 2; }
cd "$(dirname "$0")/.."
scripts/setup.sh clang libclang-rt-14-dev
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target load_fuzzer calls_fuzzer

seeds=build/fuzz/seeds
rm -rf "$seeds" && mkdir -p "$seeds"
for file in tests/data/files/*; do
    for pick in 0 1 2 3 4 5; do
        { printf "\\$pick"; cat "$file"; } >"$seeds/$(basename "$file").$pick"
    done
done
export ASAN_OPTIONS=malloc_context_size=1:quarantine_size_mb=4
for target in load calls; do
    found=build/fuzz/corpus/$target
    mkdir -p "$found"
    "build/fuzz/bin/${target}_fuzzer" -max_total_time=$(($1 / 2)) -timeout=20 -max_len=1024 -entropic=0 \
        -print_final_stats=1 -artifact_prefix="tests/fuzz/findings/$target/" \
        "$found" "tests/fuzz/findings/$target" "tests/fuzz/corpus/$target" "$seeds"
    if [ "${2:-}" = merge ]; then
        rm -rf "$found.least" && mkdir "$found.least"
        "build/fuzz/bin/${target}_fuzzer" -merge=1 -use_counters=0 -max_len=1024 "$found.least" "$found" "$seeds"
        rm -rf "tests/fuzz/corpus/$target" && cp -R "$found.least" "tests/fuzz/corpus/$target"
    fi
done
