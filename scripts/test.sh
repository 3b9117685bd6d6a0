#!/usr/bin/env bash
# Builds with the sanitizers and runs all tests, then builds the release and compiles with the other compiler. The last
# lines are the test runner's own closing lines.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh test
. scripts/homebrew-paths.sh

build() {
    echo "== $1"
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1"
}

build dev-asan
log=build/dev-asan/test-run.log
ctest --preset dev-asan 2>&1 | tee "$log"

build release
# Apple's compiler is clang already.
[ "$(uname -s)" = Darwin ] || build dev-clang

echo "== tests"
sed -n '/^[0-9]*% tests passed/,$p' "$log"
