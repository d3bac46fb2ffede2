#!/bin/sh
# Builds the library and reports what ephemeris files hold: those given, or the samples of the project.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
(
    cd "$root"
    cmake --preset release >/dev/null
    cmake --build --preset release --target ephemeris_report >/dev/null
)
[ $# -gt 0 ] || set -- "$root"/examples/samples/*
exec "$root/build/release/bin/ephemeris_report" "$@"
