#!/usr/bin/env bash
# Shows the library at work: builds it, and lets zelctl talk to the phones of the development link service, service by
# service. What they say has to be what the files of the conversations say.
# On a fresh Debian 12, as root; no display is needed. Everything it makes lies below build/.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
# shellcheck source=scripts/setup.sh
source scripts/setup.sh
# shellcheck source=scripts/conversations.sh
source scripts/conversations.sh

work=build/demo

# shellcheck disable=SC2317 # called by the trap
clean_up() {
    local code=$?
    trap - EXIT
    stop_wine
    ((code == 0)) || printf '\nThe demo failed (exit code %d).\n' "$code" >&2
    exit "$code"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

heading() { printf '\n== %s\n' "$*"; }

fail() {
    printf 'demo.sh: %s\n' "$*" >&2
    exit 1
}

heading 'Build'
install_packages "${BUILD_PACKAGES[@]}"
mkdir -p "$work"
cmake --preset windows >"$work/configure.txt" -DBUILD_TESTING=OFF -DZELAPI_TOOLS=ON -DZELAPI_SIMULATOR=ON 2>&1 ||
    { cat "$work/configure.txt" >&2; fail 'cannot configure'; }
cmake --build --preset windows --target zelapi zelctl vorlansim

heading 'The link service: registered with COM'
begin_conversations "$work/wine"

for file in "$conversations_folder"/*.txt; do
    echo
    play "$file" | tee "$(said "$file")"
    compare "$file" || fail 'that is not what was expected'
done

heading 'Done'
