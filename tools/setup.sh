#!/bin/sh
# Installs the Debian packages that a task needs and that are missing: setup.sh build | test | bench | fuzz.
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
packages="g++ cmake ninja-build ccache libcli11-dev nlohmann-json3-dev"
case "${1:-build}" in
    build) ;;
    test) packages="$packages libgtest-dev" ;;
    bench) packages="$packages libbenchmark-dev" ;;
    fuzz) packages="$packages clang libclang-rt-14-dev" ;;
    *) echo "usage: setup.sh build|test|bench|fuzz" >&2; exit 2 ;;
esac
mkdir -p "$here/build"
missing=
for package in $packages; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
done
[ -z "$missing" ] && exit 0
echo "Installing:$missing"
sudo=
[ "$(id -u)" -eq 0 ] || sudo=sudo
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends $missing
