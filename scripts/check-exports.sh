#!/usr/bin/env bash
# check-exports.sh DLL: fails unless the library exports exactly what ZelAPI.def names and needs system DLLs only.
set -euo pipefail
def=$(dirname "$0")/../src/api/ZelAPI.def

dump=$(x86_64-w64-mingw32-objdump -p "$1")
exported=$(sed -n 's/^\t\[ *[0-9]*\] \([A-Za-z]\)/\1/p' <<<"$dump" | sort)
named=$(sed -n '/^EXPORTS/,$p' "$def" | awk 'NR > 1 && NF { print $1 }' | sort)
if [[ $exported != "$named" ]]; then
    diff <(echo "$named") <(echo "$exported") >&2 || true
    echo "$1 does not export what $def names" >&2
    exit 1
fi

foreign=$(sed -n 's/^\tDLL Name: //p' <<<"$dump" | grep -viE '^(advapi32|kernel32|msvcrt|ole32|oleaut32)\.dll$' || true)
if [[ -n $foreign ]]; then
    echo "$1 needs more than system DLLs: $foreign" >&2
    exit 1
fi
echo "$(wc -l <<<"$exported") exports, system DLLs only"
