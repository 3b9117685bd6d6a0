#!/usr/bin/env bash
# Builds the program, writes a sample Mac, extracts its mail accounts and shows them. An argument names the folder to
# work in; without one it is a fresh folder below the temporary directory.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh build
. scripts/homebrew-paths.sh
cmake --preset release >/dev/null
echo "Building mail-extract: about one to two minutes the first time (build/release/demo-build.log)"
begun=$SECONDS
cmake --build --preset release --target mail-extract apple_mail_extractor >build/release/demo-build.log 2>&1 ||
    { tail -n 40 build/release/demo-build.log >&2; exit 1; }
echo "Built in $((SECONDS - begun)) seconds"
exec build/release/bin/mail-extract demo "$@"
