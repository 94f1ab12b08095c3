#!/usr/bin/env bash
# Shows the library at work: builds it, starts the development link service, and talks to its phone with zelctl.
# On a fresh Debian 12, as root; no display is needed. Everything it makes lies below build/.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source scripts/setup.sh

build=build/windows
work=build/demo
service=

stop_service() {
    kill -INT "$service" 2>/dev/null || true
    wait "$service" 2>/dev/null || true
    service=
}

clean_up() {
    local code=$?
    trap - EXIT
    stop_wine
    [[ -z $service ]] || wait "$service" 2>/dev/null || true
    ((code == 0)) || printf '\nThe demo failed (exit code %d).\n' "$code" >&2
    exit "$code"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

heading() { printf '\n== %s\n' "$*"; }

# show COMMAND...: the command as one would type it.
show() {
    local word
    printf '$'
    for word in "$@"; do
        [[ $word == *[[:space:]]* ]] && word="'$word'"
        printf ' %s' "$word"
    done
    printf '\n'
}

fail() {
    printf 'demo.sh: %s\n' "$*" >&2
    exit 1
}

# start_service SCENARIO: starts the link service by hand, and waits until it is ready.
start_service() {
    local log=$work/service.txt
    # Emptied here: the loop below must not see the "ready" of the service before.
    : >"$log"
    show vorlansim --scenario "simulator/scenarios/$1"
    wine "$build/bin/vorlansim.exe" --quiet --scenario "simulator/scenarios/$1" >"$log" 2>&1 </dev/null &
    service=$!
    for ((i = 0; i < 300; ++i)); do
        grep -q '^ready' "$log" && return 0
        kill -0 "$service" 2>/dev/null || break
        sleep 0.2
    done
    cat "$log" >&2
    fail 'the link service does not start'
}

# zelctl CODE ARGUMENTS...: shows the command and what it says. It has to end with the exit code CODE.
zelctl() {
    local expected=$1 code=0
    shift
    show zelctl "$@"
    # Not through a pipe: Wine's own processes would keep it open.
    wine "$build/bin/zelctl.exe" "$@" >"$work/output.txt" 2>&1 </dev/null || code=$?
    cat "$work/output.txt"
    ((code == expected)) || fail "exit code $code instead of $expected"
    ((code == 0)) || printf '(exit code %d)\n' "$code"
}

# says TEXT: the last command has to have said this.
says() { grep -qF -- "$1" "$work/output.txt" || fail "this is missing: $1"; }

heading 'Build'
install_packages "${BUILD_PACKAGES[@]}"
mkdir -p "$work"
cmake --preset windows -DZELAPI_TESTS=OFF -DZELAPI_BENCH=OFF >"$work/configure.txt" 2>&1 ||
    { cat "$work/configure.txt" >&2; fail 'cannot configure'; }
cmake --build --preset windows --target zelapi zelctl vorlansim
wine_environment "$work/wine"

heading 'The link service: registered, and started with a phone in good health'
show vorlansim /regserver
wine "$build/bin/vorlansim.exe" /regserver </dev/null
start_service default.scenario

heading 'What the phone supports'
zelctl 0 services
says 16.0

heading 'The clock: read, set, read again'
zelctl 0 time
says '2006-05-17 12:30:00'
zelctl 0 time set '2024-02-29 23:59:58'
zelctl 0 --json time
says '"time": "2024-02-29 23:59:58"'

heading 'A file: the name of an identifier, the identifier of a name'
zelctl 0 file name 3
says 'Tones/Grüße.mid'
zelctl 0 file id 'Tones/Grüße.mid'
says 'file id: 3'

heading 'What the phone says on its own'
zelctl 0 watch messaging --count 1 --for 40
says 'messaging event'
zelctl 0 watch connection --count 1 --for 60
says 'connection event'

heading 'Provisioning: setting sets, saved with their contents and sent back'
zelctl 0 provisioning list
says 'E-Mail'
rm -rf "$work/sets"
zelctl 0 provisioning save "$work/sets"
says 'content-1.bin'
zelctl 0 provisioning write "$work/sets"
says 'written: 3'
zelctl 0 provisioning select 2
zelctl 0 provisioning list
says 'value 18: 2'

heading 'The radio: a new item, and a setting'
zelctl 0 radio list
says 'Hill Radio'
zelctl 0 radio write 3 'Äther' 00 01 8A 0C
zelctl 0 radio list
says 'Äther'
zelctl 0 radio set 1 1 12 0 0 101500 Volume
zelctl 0 radio setting 1
says 'value 13: 12'
heading 'Short messages: list, read, store, read back, delete; one arrives'
zelctl 0 sms list
says 'values: 1, 2, 3'
zelctl 0 sms show 1
says '60 50 71 01 21 03 21'
zelctl 0 sms store 2 --data '48 69' --time '2024-02-29 23:59:58'
says 'location: 4'
zelctl 0 sms show 4
says '2024-02-29 23:59:58'
zelctl 0 sms delete 4
zelctl 0 watch sms --count 1 --for 40
says 'message received'

heading 'Calls: one comes in; make one, ask for it, end it'
zelctl 0 watch call --count 1 --for 40
says '+358401234567'
zelctl 0 call dial '+358401234567'
says 'call: 1'
zelctl 0 call status 1
says 358401234567
zelctl 0 call request-9 1
zelctl 1 call query 1
says 'status 30'
heading 'Permissions: a block is read into a file, changed and written back'
zelctl 0 permissions size 1
zelctl 0 permissions read 1 "$work/permissions.txt"
sed -i 's/location=deny/location=ask/' "$work/permissions.txt"
zelctl 0 permissions write 1 "$work/permissions.txt"
says 'written: 36'
zelctl 0 permissions read 1 "$work/permissions.txt"
grep -q 'location=ask' "$work/permissions.txt" || fail 'the block is not what was written'

heading 'WAP connections: a new one is written and chosen'
zelctl 0 wap write News http://news.example --flag
says 0x0103
zelctl 0 wap show 3
says http://news.example
zelctl 0 wap connection-command 3
zelctl 0 wap byte 3
says 'byte: 1'

heading 'Storage: what lies in the phone, and on its card'
zelctl 0 storage areas
says 'Memory card'
zelctl 0 storage three-byte-command 0x1001 2 0 0
zelctl 0 storage list 2
says '0x00001001, 0x00002001'
zelctl 0 watch storage --count 1 --for 40
says 'storage event'
heading 'User profiles: the name of one, changed and read again'
zelctl 0 profiles show 1 12 1
says General
zelctl 0 profiles set 1 12 text 'Büro'
zelctl 0 --json profiles show 1 12
says '"value": "Büro"'
zelctl 0 profiles set-bytes 02 00 00 00
says 'phone says: 02 00 00 00'

heading 'A supplementary service: its number, changed and asked for'
zelctl 0 supplementary query 0x21 0
says '+12025550143'
zelctl 0 supplementary request 3 0x21 0 '+12025550199'
zelctl 0 supplementary query 0x21 0
says '+12025550199'
zelctl 1 supplementary query 0x44 0
says 'status 33'
zelctl 0 watch supplementary --count 1 --for 60
says 'block id: 33'
heading 'The phone book: look somebody up, write an entry, remove it'
zelctl 0 pnd find 5 'Béatrice Morel'
says '12 rue des Lilas'
zelctl 0 pnd add 5 '7=Wren Achterberg' 11/2=+31620555141 '75=Kade 3' 77=Delft
says 'location: 41'
zelctl 0 pnd list 5 38 41
says 'Wren Achterberg'
zelctl 0 pnd command15 5 41
zelctl 1 pnd show 5 41
says 'status 6'

heading 'The calendar: list it, write an entry, read it back'
zelctl 0 calendar list
says 'Ferry to Ærø'
zelctl 0 calendar add entry-kind=1 kind-code=4 text-1=Sauna 'date-1=2006-05-27 19:00:00'
says 'location: 11'
zelctl 0 calendar show 11
says '2006-05-27 19:00:00'
zelctl 0 calendar summary

heading 'The same phone, by its serial number'
zelctl 0 --serial 350123451234567 raw access
says 0x03

heading 'A phone that fails'
stop_service
start_service failing.scenario
zelctl 1 time
says 0x8007001F
zelctl 1 file name 2
says 'status 6'
zelctl 1 --serial 123 time
says 0x8007048F

heading 'Done'
