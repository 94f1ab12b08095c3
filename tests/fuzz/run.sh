#!/bin/sh
# tests/fuzz/run.sh SECONDS: lets every fuzzer run for that time on two processors, and prints executions per second,
# features and the lines of the library that were run. New inputs are kept in build/host/fuzz/; with MERGE=1 the
# corpora in the tree take over what they add, and lose what adds nothing.
set -eu
seconds=${1:?usage: tests/fuzz/run.sh SECONDS}
cd "$(dirname -- "$0")/../.."
bin=$PWD/build/host/bin
corpora=$PWD/tests/fuzz/corpus
fuzzers="codec handlers"

[ -f build/host/build.ninja ] || cmake --preset host >/dev/null
for name in $fuzzers; do
    set -- "$@" "${name}_fuzzer" "${name}_coverage"
done
shift
cmake --build build/host --target "$@" >/dev/null

# Memory that is used again soon is fast, and who allocated it is seen from few frames. A stack for signals would be asked
# for with every exception.
export ASAN_OPTIONS=quarantine_size_mb=8:malloc_context_size=4:use_sigaltstack=0

failed=0
for name in $fuzzers; do
    found=$PWD/build/host/fuzz/$name
    mkdir -p "$found"
    rm -f "$found".*.log
    processes=
    for job in 1 2; do
        "$bin/${name}_fuzzer" -max_total_time="$seconds" -print_final_stats=1 -max_len=2000 -rss_limit_mb=4000 \
            -artifact_prefix="$found.crash-" "$found" "$corpora/$name" >"$found.$job.log" 2>&1 &
        processes="$processes $!"
    done
    for process in $processes; do
        wait "$process" || failed=1
    done
    awk -v name="$name" '
        /^stat::number_of_executed_units/ { total += $2 }
        /^stat::average_exec_per_sec/ { rate += $2 }
        / ft: / { for (i = 1; i < NF; ++i) if ($i == "ft:" && $(i + 1) > features) features = $(i + 1) }
        END { printf "%-9s %9d executions, %6d per second, %5d features\n", name, total, rate, features }
    ' "$found".*.log
    grep -h -B1 -A20 -E '^(broken:|==[0-9]+==ERROR|SUMMARY:)' "$found".*.log || true

    if [ -n "${MERGE:-}" ]; then
        merged=$(mktemp -d)
        "$bin/${name}_fuzzer" -merge=1 "$merged" "$corpora/$name" "$found" >/dev/null 2>&1
        rm -f "$corpora/$name"/*
        cp "$merged"/* "$corpora/$name"
        rm -r "$merged"
    fi
    LLVM_PROFILE_FILE=$found.profraw "$bin/${name}_coverage" -runs=0 "$found" "$corpora/$name" >/dev/null 2>&1
done
llvm-profdata merge -sparse build/host/fuzz/*.profraw -o build/host/fuzz/coverage.profdata
llvm-cov report "$bin/handlers_coverage" -object "$bin/codec_coverage" -instr-profile=build/host/fuzz/coverage.profdata \
    src/message src/handlers | awk 'NR == 1 || /^(message|handlers)|\.cpp|\.h|^TOTAL/ { print $1, $10 }' | column -t
exit $failed
