#!/usr/bin/env bash
# Installs what it needs, builds everything and runs all tests: natively under the sanitizers, as Windows programs under
# Wine, and end to end through the link service as a process of its own. Ends with the counts.
set -euo pipefail
cd "$(dirname "$0")"
# shellcheck source=scripts/setup.sh
source scripts/setup.sh

logs=$PWD/build/test-logs

wine_tests=

# shellcheck disable=SC2317 # called by the trap
clean_up() {
    [[ -z $wine_tests ]] || kill "$wine_tests" 2>/dev/null || true
    stop_wine
}
trap clean_up EXIT
trap 'exit 130' INT TERM

# build PRESET [OPTION...]: configures and builds; shows the end of what was said when it fails.
build() {
    local log=$logs/build-$1.log
    echo "Building: $1"
    { cmake --preset "$@" && nice cmake --build --preset "$1"; } >"$log" 2>&1 || { tail -n 50 "$log"; return 1; }
}

# run_tests PRESET JOBS: runs the tests of a build. Shows what failed; the rest goes to a log.
run_tests() {
    local log=$logs/$1.txt
    echo "Running the tests: $1"
    ctest --preset "$1" --verbose -j "$2" >"$log" 2>&1 && return 0
    grep -E '\[  FAILED  \]|Failure|Error|ERROR|\*\*\*|SUMMARY|^[0-9]+: [-+@]' "$log" | head -n 100
    echo "The tests of $1 have failed; see build/test-logs/$1.txt" >&2
    return 1
}

# count PATTERN: the sum of the numbers in the lines of all logs that match.
count() {
    cat "$logs"/*.txt | grep -oE "$1" | grep -oE '[0-9]+' | awk '{ sum += $1 } END { print sum + 0 }'
}

install_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
rm -rf "$logs"
mkdir -p "$logs"

build windows -DBUILD_TESTING=ON -DZELAPI_TOOLS=ON -DZELAPI_SIMULATOR=ON -DZELAPI_BENCH=OFF
scripts/check-exports.sh build/windows/bin/ZelAPI.dll

# The tests under Wine mostly wait, so they run while the native build has the processors.
wine_environment build/wine
run_tests windows 8 &
wine_tests=$!
failed=0
build host
run_tests host "$(nproc)" || failed=1
wait "$wine_tests" || failed=1
wine_tests=

echo "$(count '\[  PASSED  \] [0-9]+ test') passed, $(count '\[  FAILED  \] [0-9]+ test') failed"
exit "$failed"
