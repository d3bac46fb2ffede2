#!/bin/sh
# Makes the Debian packages, in build/package/packages.
set -eu

cd "$(dirname "$0")/.."
scripts/setup.sh dpkg-dev file
cmake --preset package >/dev/null
cmake --build --preset package
cpack --config build/package/CPackConfig.cmake -B build/package/packages
