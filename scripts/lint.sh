#!/usr/bin/env bash
# Formatting and static analysis of the whole tree, as test.sh runs them. Needs configured build/windows and build/host.
set -euo pipefail
cd "$(dirname "$0")/.."

sources() { git ls-files -co --exclude-standard -- "$@" | grep -E '\.(c|cpp|h)$'; }

echo "Formatting"
sources . | xargs clang-format-14 --dry-run --Werror

# clang does not find the cross compiler's C++ headers by itself.
gcc=x86_64-w64-mingw32-g++-posix
triple=x86_64-w64-mingw32
cxx=$($gcc -print-file-name=include/c++)
windows_headers=(
    "--extra-arg=--target=$triple" "--extra-arg=-isystem$cxx" "--extra-arg=-isystem$cxx/$triple"
    "--extra-arg=-isystem$cxx/backward"
)

# tidy BUILD_DIR FILE... -- ARGUMENT...: only files that this build compiles.
tidy() {
    local build=$1 files=()
    shift
    while [[ $# -gt 0 && $1 != -- ]]; do
        grep -qF "\"file\": \"$PWD/$1\"" "$build/compile_commands.json" && files+=("$1")
        shift
    done
    shift
    printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 1 clang-tidy-14 --quiet -p "$build" "$@" 2>/dev/null
}

echo "Static analysis"
mapfile -t all < <(git ls-files -co --exclude-standard -- src simulator tools examples | grep -E '\.cpp$')
tidy build/windows "${all[@]}" -- "${windows_headers[@]}"
