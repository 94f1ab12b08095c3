#!/bin/sh
# Runs a Windows program in the Wine prefix of the build tree. A prefix of one's own can be given in WINEPREFIX.
set -eu
root=$(CDPATH='' cd -- "$(dirname -- "$0")/.." && pwd)
: "${WINEPREFIX:=$root/build/wine}"
: "${WINEDEBUG:=-all}"
: "${WINEDLLOVERRIDES:=mscoree,mshtml=;winemenubuilder.exe=d}"
export WINEPREFIX WINEDEBUG WINEDLLOVERRIDES
unset DISPLAY
mkdir -p "$(dirname -- "$WINEPREFIX")"
exec wine "$@"
