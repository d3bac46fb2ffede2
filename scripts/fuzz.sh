#!/bin/sh
# Fuzzes the loads and the calls, half of the given seconds each, from the samples and the hand-worked files on. What
# fails is left in tests/fuzz/findings/, which the tests replay.
set -eu

[ $# -eq 1 ] || { echo "usage: $0 SECONDS" >&2; exit 2; }
cd "$(dirname "$0")/.."
scripts/setup.sh clang libclang-rt-14-dev
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target load_fuzzer calls_fuzzer

seeds=build/fuzz/seeds
rm -rf "$seeds" && mkdir -p "$seeds"
for file in examples/samples/* tests/data/files/*; do
    for pick in 0 1 2 3 4 5; do
        { printf "\\$pick"; cat "$file"; } >"$seeds/$(basename "$file").$pick"
    done
done
for target in load calls; do
    mkdir -p "build/fuzz/corpus/$target"
    "build/fuzz/bin/${target}_fuzzer" -max_total_time=$(($1 / 2)) -timeout=20 -max_len=8192 -print_final_stats=1 \
        -artifact_prefix="tests/fuzz/findings/$target/" "build/fuzz/corpus/$target" "tests/fuzz/findings/$target" "$seeds"
done
