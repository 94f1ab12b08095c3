#!/bin/sh
# Runs a Windows program in the Wine prefix of the build tree. A prefix of one's own can be given in WINEPREFIX. With
# ZELAPI_FRESH_WINE set, no other program of the prefix runs before or after it.
set -u
root=$(CDPATH='' cd -- "$(dirname -- "$0")/.." && pwd)
: "${WINEPREFIX:=$root/build/wine}"
: "${WINEDEBUG:=-all}"
: "${WINEDLLOVERRIDES:=mscoree,mshtml=;winemenubuilder.exe=d}"
export WINEPREFIX WINEDEBUG WINEDLLOVERRIDES
unset DISPLAY
mkdir -p "$(dirname -- "$WINEPREFIX")"
if [ -n "${ZELAPI_FRESH_WINE:-}" ]; then
    # What making a prefix starts must not be there, either.
    [ -d "$WINEPREFIX" ] || wine cmd /c rem >/dev/null 2>&1
    wineserver -k
    wineserver -w
    wine "$@"
    code=$?
    wineserver -k
    wineserver -w
    exit $code
fi
exec wine "$@"
