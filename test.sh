#!/usr/bin/env bash
# Installs what it needs, builds everything and runs all tests: natively under the sanitizers, as Windows programs under
# Wine, and end to end through the link service as a process of its own. Ends with the counts.
set -euo pipefail
cd "$(dirname "$0")"
# shellcheck source=scripts/setup.sh
source scripts/setup.sh

logs=$PWD/build/test-logs

clean_up() {
    stop_wine
}
trap clean_up EXIT
trap 'exit 130' INT TERM

# run_tests PRESET: runs the tests of a build. Shows what failed; the rest goes to a log.
run_tests() {
    local log=$logs/$1.txt
    if ! ctest --preset "$1" --verbose >"$log" 2>&1; then
        grep -E '\[  FAILED  \]|Failure|Error|ERROR|\*\*\*|SUMMARY' "$log" | head -n 100
        echo "The tests of $1 have failed; see build/test-logs/$1.txt" >&2
        failed=1
    fi
}

# count PATTERN: the sum of the numbers in the lines of all logs that match.
count() {
    cat "$logs"/*.txt | grep -oE "$1" | grep -oE '[0-9]+' | awk '{ sum += $1 } END { print sum + 0 }'
}

install_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
rm -rf "$logs"
mkdir -p "$logs"

echo "Building for Windows"
cmake --preset windows -DZELAPI_TESTS=ON -DZELAPI_BENCH=ON >"$logs/configure-windows.log"
cmake --build --preset windows >"$logs/build-windows.log" || { tail -n 50 "$logs/build-windows.log"; exit 1; }
echo "Building natively, with sanitizers"
cmake --preset host >"$logs/configure-host.log"
cmake --build --preset host >"$logs/build-host.log" || { tail -n 50 "$logs/build-host.log"; exit 1; }

scripts/lint.sh
scripts/check-exports.sh build/windows/bin/ZelAPI.dll

failed=0
echo "Running the native tests"
run_tests host
echo "Running the tests under Wine"
wine_environment build/wine
run_tests windows

echo "$(count '\[  PASSED  \] [0-9]+ test') passed, $(count '^.*\[  FAILED  \] [0-9]+ test') failed"
exit "$failed"
