#!/usr/bin/env bash
# conversations.sh [--update] [FILE...]: plays conversations with the phone of the development link service, and fails with
# a diff when zelctl says something else than their files.
#
# A file is both the conversation and what is expected: its lines after "$ " are commands, what follows them is what they
# print, with the exit code where it is not 0. Times at which something arrives are masked. --update writes the files anew.
# Needs a built build/windows. Sourced by demo.sh, which plays the same files.

conversations_folder=tests/e2e/conversations
conversations_bin=build/windows/bin
conversations_work=build/conversations
service=

stop_service() {
    [[ -n $service ]] || return 0
    kill -INT "$service" 2>/dev/null || true
    wait "$service" 2>/dev/null || true
    service=
}

# vorlansim SCENARIO: starts the link service by hand in place of the one before, and waits until it is ready.
vorlansim() {
    local log=$conversations_work/service.txt
    stop_service
    # Emptied here: the loop below must not see the "ready" of the service before.
    : >"$log"
    wine "$conversations_bin/vorlansim.exe" --quiet --scenario "$1" >"$log" 2>&1 </dev/null &
    service=$!
    for ((i = 0; i < 600; ++i)); do
        grep -q '^ready' "$log" && return 0
        kill -0 "$service" 2>/dev/null || break
        sleep 0.1
    done
    cat "$log"
    echo 'the link service does not start'
    return 1
}

# Not through a pipe: Wine's own processes would keep it open.
zelctl() {
    local code=0
    wine "$conversations_bin/zelctl.exe" "$@" >"$conversations_work/output.txt" 2>&1 </dev/null || code=$?
    sed -E 's/\r$//; s/^[0-9-]{10} [0-9:]{8}  /(now)  /' "$conversations_work/output.txt"
    return "$code"
}

# begin_conversations DIR: makes DIR the Wine prefix, and registers the link service in it.
begin_conversations() {
    mkdir -p "$conversations_work"
    wine_environment "$1"
    # The calendar shows local times.
    export TZ=UTC
    wine "$conversations_bin/vorlansim.exe" /regserver </dev/null
}

# play FILE: runs the commands of a file; shows them with what they print. Files that they write go to $work.
play() {
    local line code work
    work=$conversations_work/$(basename "$1" .txt)
    rm -rf "$work"
    mkdir -p "$work"
    while IFS= read -r line <&3; do
        if [[ $line == '$ '* ]]; then
            printf '%s\n' "$line"
            code=0
            eval "${line#\$ }" 2>&1 3<&- || code=$?
            ((code == 0)) || printf '(exit code %d)\n' "$code"
        elif [[ $line == '== '* || $line == '' ]]; then
            printf '%s\n' "$line"
        fi
    done 3<"$1"
    stop_service
}

# said FILE: where what was said in the conversation of a file is kept.
said() { printf '%s/%s' "$conversations_work" "$(basename "$1")"; }

# compare FILE: shows what was said otherwise than the file has it.
compare() { diff -u --label "$1" --label 'what was said' "$1" "$(said "$1")"; }

# check_conversations [--update] [FILE...]: plays and compares, or keeps what is said as what is expected.
check_conversations() {
    local file judge=compare passed=0 failed=0
    if [[ ${1:-} == --update ]]; then
        judge=keep
        shift
    fi
    (($#)) || set -- "$conversations_folder"/*.txt
    begin_conversations "$conversations_work/wine"
    for file in "$@"; do
        play "$file" >"$(said "$file")"
        if "$judge" "$file"; then
            ((++passed))
        else
            ((++failed))
        fi
    done
    # As the test programs say it, for those who count.
    ((passed == 0)) || echo "[  PASSED  ] $passed tests."
    ((failed == 0)) || echo "[  FAILED  ] $failed tests."
    return $((failed > 0))
}

keep() { cp "$(said "$1")" "$1"; }

if [[ ${BASH_SOURCE[0]} == "$0" ]]; then
    set -euo pipefail
    cd "$(dirname "${BASH_SOURCE[0]}")/.."
    # shellcheck source=scripts/setup.sh
    source scripts/setup.sh
    trap stop_wine EXIT
    trap 'exit 130' INT TERM
    check_conversations "$@"
fi
