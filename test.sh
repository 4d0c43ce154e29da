#!/bin/sh
# Installs what is missing, builds with assertions and sanitizers, and runs all tests. Arguments go to ctest.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
"$here/tools/setup.sh" test
cmake --preset dev -S "$here" -DKORVANE_TESTS=ON -DKORVANE_BENCH=OFF
cmake --build "$here/build/dev"
exec ctest --test-dir "$here/build/dev" --output-on-failure --parallel "$(nproc)" "$@"
