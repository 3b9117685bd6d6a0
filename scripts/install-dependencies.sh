#!/usr/bin/env bash
# Installs what building needs, and with "test" what the whole test run needs, with
# "check" what scripts/check.sh needs; does nothing when it is all there.
set -euo pipefail

purpose=${1:-build}

install_on_debian() {
    local packages=(g++ cmake ninja-build qt6-base-dev libqt6sql6-sqlite libcli11-dev libssl-dev libsqlite3-dev)
    [ "$purpose" = build ] || packages+=(clang)
    [ "$purpose" = check ] && packages+=(clang-format clang-tidy)
    local missing=()
    for package in "${packages[@]}"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "install-dependencies: needs root or sudo to install: ${missing[*]}" >&2; exit 1; }
        as_root=(sudo)
    fi
    echo "Installing: ${missing[*]}"
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

install_on_macos() {
    command -v brew >/dev/null || { echo "install-dependencies: Homebrew is needed, see https://brew.sh" >&2; exit 1; }
    local missing=()
    for formula in cmake ninja qt cli11 openssl@3 sqlite; do
        brew list --versions "$formula" >/dev/null || missing+=("$formula")
    done
    [ ${#missing[@]} -eq 0 ] || brew install "${missing[@]}"
}

case $(uname -s) in
    Linux)
        command -v apt-get >/dev/null || { echo "install-dependencies: only Debian and its kin are known; see cmake/dependencies.cmake for what is needed" >&2; exit 1; }
        install_on_debian ;;
    Darwin) install_on_macos ;;
    *) echo "install-dependencies: no recipe for $(uname -s); see cmake/dependencies.cmake for what is needed" >&2; exit 1 ;;
esac
