# To be sourced: Homebrew keeps Qt, OpenSSL and SQLite where CMake does not look by itself. Elsewhere it changes nothing.
if [ "$(uname -s)" = Darwin ] && command -v brew >/dev/null; then
    CMAKE_PREFIX_PATH="$(brew --prefix qt):$(brew --prefix openssl@3):$(brew --prefix cli11):$(brew --prefix sqlite)${CMAKE_PREFIX_PATH:+:$CMAKE_PREFIX_PATH}"
    export CMAKE_PREFIX_PATH
fi
