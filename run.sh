#!/bin/sh
# Installs what is missing, builds, and runs a deck with its report on the terminal.
#   ./run.sh            solves examples/case14.dat
#   ./run.sh DECK       any other deck; further arguments go to "kvn run"
set -eu
here=$(cd "$(dirname "$0")" && pwd)
deck=${1:-"$here/examples/case14.dat"}
[ $# -gt 0 ] && shift
"$here/tools/setup.sh" build
cmake --preset release -S "$here" -DKORVANE_TESTS=OFF -DKORVANE_BENCH=OFF >"$here/build/configure.log" || { cat "$here/build/configure.log"; exit 1; }
cmake --build "$here/build/release" --target kvn korvane catalogue >"$here/build/build.log" || { cat "$here/build/build.log"; exit 1; }
exec "$here/build/release/bin/kvn" run "$deck" "$@"
