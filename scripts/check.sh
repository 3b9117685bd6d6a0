#!/usr/bin/env bash
# Holds all files against .clang-format and .clang-tidy, tests included. A source that was found clean is read again only
# when it, a header of ours that it includes, its compiler options or the checks have changed.
set -euo pipefail
cd "$(dirname "$0")/.."

[ "$(uname -s)" = Linux ] || { echo "check: works with Debian's clang tools only" >&2; exit 1; }
scripts/install-dependencies.sh check
build=$PWD/build/dev-clang
clean=$PWD/build/check
jobs=$(getconf _NPROCESSORS_ONLN)
mkdir -p "$clean"

echo "== clang-format"
git ls-files -z '*.cpp' '*.h' | xargs -0 -n 32 -P "$jobs" clang-format --dry-run --Werror

echo "== clang-tidy"
# Compiling writes the generated sources, the precompiled headers that clang-tidy reads, and who includes what.
cmake --preset dev-clang >/dev/null
cmake --build --preset dev-clang --target objects >"$clean/build.log" 2>&1 || { tail -n 40 "$clean/build.log" >&2; exit 1; }
# Beside the precompiled headers the compiler is told their text, which clang-tidy would read once more.
sed 's| -Xclang -include -Xclang [^ ]*/cmake_pch.hxx||' "$build/compile_commands.json" >"$clean/compile_commands.json"

tidy_source() {
    local source=$1
    shift
    [ -e "$source" ] || return 0 # the build remembers it, the tree does not
    local key
    key=$({ clang-tidy --version; cat .clang-tidy "$source" "$@"; grep -F -- " -c $source\"" "$database/compile_commands.json"; } | sha256sum)
    local mark=$clean/${key%% *}
    [ -e "$mark" ] && return
    if ! clang-tidy -p "$database" --quiet "$source" >"$mark.out" 2>&1; then
        cat "$mark.out"
        rm -f "$mark.out"
        return 1
    fi
    mv "$mark.out" "$mark"
    echo "clean: ${source#"$PWD"/}"
}
export -f tidy_source
export clean

# One line a source: itself and the files of ours that it includes. ccache writes paths relative to the build.
ninja -C "$build" -t deps | awk -v root="$PWD/" -v built="$PWD/build/" '
    function flush() { if (source != "") print source headers; source = headers = "" }
    /^[^ ]/ { flush() }
    NF == 1 {
        path = $1
        sub(/^\.\.\/\.\.\//, root, path)
        if (index(path, root) != 1 || index(path, built) == 1) next
        if (source == "" && path ~ /\.cpp$/) source = path
        else headers = headers " " path
    }
    END { flush() }' | sort -u >"$clean/sources"
# The fuzz targets belong to a build of their own, which nothing compiles here: any header may be theirs.
cmake --preset fuzz >/dev/null
for target in tests/fuzz/*.cpp; do
    echo "$PWD/$target" $(git ls-files '*.h')
done >"$clean/fuzz-targets"
unread=$(comm -23 <(git ls-files '*.cpp' ':!tests/fuzz' | sed "s|^|$PWD/|" | sort) <(cut -d' ' -f1 "$clean/sources" | sort -u))
[ -z "$unread" ] || { printf 'check: in no build, so not read: %s\n' $unread >&2; exit 1; }
database=$clean xargs -P "$jobs" -L 1 bash -c 'tidy_source "$@"' tidy_source <"$clean/sources"
database=$PWD/build/fuzz xargs -P "$jobs" -L 1 bash -c 'tidy_source "$@"' tidy_source <"$clean/fuzz-targets"
echo "$(cat "$clean/sources" "$clean/fuzz-targets" | wc -l) sources are clean"
