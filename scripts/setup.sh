#!/bin/sh
# Installs what a bare Debian 12 lacks to build and test the library, and the packages given. Does nothing when all is
# there.
set -eu

packages="g++ gcc make cmake ninja-build git pkg-config python3
    python3-numpy python3-pandas python3-distributed python3-pip python3-venv
    libgtest-dev libgmock-dev libbenchmark-dev liberfa-dev relacy-dev zlib1g-dev locales
    libcli11-dev gnuplot-nox clang-format clang-tidy valgrind $*"

missing=""
for package in $packages; do
    state=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

echo "setup: installing$missing"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo=sudo
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update --quiet --quiet
# shellcheck disable=SC2086 # a list of packages
$sudo apt-get install --yes --quiet --quiet --no-install-recommends $missing
