#!/bin/sh
# Builds the benchmarks and prints their questions, figures and goals as one table, then instruction counts and peak
# memory. What the benchmark library prints of every run goes to build/release/bench.log.
set -eu

cd "$(dirname "$0")/.."
scripts/setup.sh valgrind
cmake --preset release >/dev/null
cmake --build --preset release >/dev/null
bin=build/release/bin
log=build/release/bench.log
: >"$log"

title=
for question in catalogue evaluation store load format; do
    "$bin/${question}_bench" --benchmark_repetitions=5 --benchmark_min_time=0.2 >"$log.table" 2>>"$log"
    sed "${title:+1d}" "$log.table"
    title=printed
done
PYTHONPATH=python /usr/bin/python3 bench/python_bench.py 2>>"$log"

"$bin/gate_bench" | sed 1d

# Instructions within a call, of a run of the subject.
count_instructions() {
    valgrind --tool=callgrind --callgrind-out-file=/dev/null --toggle-collect="$1" \
        "$bin/instruction_subject" "$2" "$3" 2>&1 | sed -n 's/.*Collected : //p'
}
evaluations=$(count_instructions VecTabDs50UTCCovMtx evaluate 10000)
shorter=$(count_instructions VecTabLoadFile load 10000)
longer=$(count_instructions VecTabLoadFile load 20000)
batch=$(count_instructions VecBatchGrid batch 10000)
printf '\n%-58s %12d\n' "instructions of a state with covariance" $((evaluations / 10000))
printf '%-58s %12d\n' "the same, in a batch" $((batch / 10000))
printf '%-58s %12d\n' "instructions of a loaded Dot-E line" $(((longer - shorter) / 10000))
echo
"$bin/memory_report" load 1000000
"$bin/memory_report" save 2000
"$bin/memory_report" calls 20000
"$bin/memory_report" removal 10000
"$bin/memory_report" mappings 100000
