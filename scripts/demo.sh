#!/bin/sh
# Builds the tool vectab and prints what ephemeris files hold: those given, or the samples of the project.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
(
    cd "$root"
    cmake --preset release >/dev/null
    cmake --build --preset release --target vectab >/dev/null
)
vectab="$root/build/release/bin/vectab"
if [ $# -eq 0 ]; then
    cd "$root"
    set -- examples/samples/*
fi
status=0
"$vectab" info "$@" || status=$?
echo
echo "Try also: $vectab check $1"
exit "$status"
