#!/usr/bin/env bash
# Builds with the sanitizers and runs all tests, then builds what is released and compiles everything with the other
# compiler. The last lines are the test runner's own closing lines.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh test
. scripts/homebrew-paths.sh

configure() {
    echo "== $1"
    cmake --preset "$1" >/dev/null
}

configure dev-asan
cmake --build --preset dev-asan
log=build/dev-asan/test-run.log
ctest --preset dev-asan --parallel "$(getconf _NPROCESSORS_ONLN)" 2>&1 | tee "$log"

configure release
cmake --build --preset release --target mail-extract apple_mail_extractor write-sample-source bench-extraction
# Apple's compiler is clang already. Its warnings are what is wanted, so nothing is linked.
if [ "$(uname -s)" != Darwin ]; then
    configure dev-clang
    cmake --build --preset dev-clang --target objects
fi

echo "== tests"
sed -n '/^[0-9]*% tests passed/,$p' "$log"
