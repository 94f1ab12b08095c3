#!/usr/bin/env bash
# Looks at the tree without running it: formatting, arrows between folders, documentation, shell scripts, static analysis.
# Installs and configures what it needs.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/setup.sh
source scripts/setup.sh

# sources PATH...: the C and C++ files below.
sources() { git ls-files -co --exclude-standard --deduplicate -- "$@" | grep -E '\.(c|cpp|h|hpp)$' | existing; }

# Deleted files that are not committed yet are still listed.
existing() {
    local file
    while read -r file; do [[ ! -e $file ]] || printf '%s\n' "$file"; done
}

# tidy BUILD_DIR PATH... [-- ARGUMENT...]: the sources below the paths that this build compiles, on all cores.
tidy() {
    local build=$1 paths=()
    shift
    while (($#)) && [[ $1 != -- ]]; do
        paths+=("$1")
        shift
    done
    shift || true
    sources "${paths[@]}" | while read -r file; do
        ! grep -qF "\"file\": \"$PWD/$file\"" "$build/compile_commands.json" || printf '%s\n' "$file"
    done | xargs -r -P "$(nproc)" -n 1 clang-tidy-14 --quiet -p "$build" "$@" 2>/dev/null
}

install_packages "${BUILD_PACKAGES[@]}" "${LINT_PACKAGES[@]}"

echo "Formatting"
sources . | xargs clang-format-14 --dry-run --Werror

echo "Shell scripts"
shellcheck -x ./*.sh scripts/*.sh cmake/*.sh .ci/run

echo "Arrows"
scripts/check-arrows.py

echo "Documentation"
scripts/check-messages.py

echo "Static analysis"
# Only the interfaces' header has to be made; nothing else is built.
cmake --preset windows -B build/lint -DBUILD_TESTING=OFF -DZELAPI_BENCH=ON >/dev/null
cmake --build build/lint --target vorlan_idl >/dev/null
# clang does not find the cross compiler's C++ headers by itself.
triple=x86_64-w64-mingw32
cxx=$($triple-g++-posix -print-file-name=include/c++)
tidy build/lint src simulator tools examples bench -- "--extra-arg=--target=$triple" "--extra-arg=-isystem$cxx" \
    "--extra-arg=-isystem$cxx/$triple" "--extra-arg=-isystem$cxx/backward"
