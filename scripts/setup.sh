# shellcheck shell=bash
# Common set-up of demo.sh, test.sh and scripts/lint.sh; source it. Works on Debian 12.

# What it takes to build the library and its programs, and to run them.
# shellcheck disable=SC2034 # used by the scripts that source this file
BUILD_PACKAGES=(
    cmake ninja-build libcli11-dev nlohmann-json3-dev
    gcc-mingw-w64-x86-64-posix g++-mingw-w64-x86-64-posix mingw-w64-tools
    libwine-dev wine wine64
)

# What the tests need besides: the native build with its sanitizers.
# shellcheck disable=SC2034
TEST_PACKAGES=(clang libclang-rt-14-dev googletest)

# What the linters need besides.
# shellcheck disable=SC2034
LINT_PACKAGES=(clang-format-14 clang-tidy-14 git python3 shellcheck)

# install_packages PACKAGE...: installs those that are missing; needs root only then.
install_packages() {
    local package missing=()
    for package in "$@"; do
        [[ $(dpkg-query -W -f '${Status}' "$package" 2>/dev/null) == 'install ok installed' ]] || missing+=("$package")
    done
    ((${#missing[@]})) || return 0
    if ((EUID != 0)); then
        echo "These packages are missing; run this script as root, or install them: ${missing[*]}" >&2
        return 1
    fi
    echo "Installing ${missing[*]}"
    local log
    log=$(mktemp)
    if ! { apt-get update && DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"; } \
        >"$log" 2>&1 </dev/null; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

# wine_environment DIR: makes DIR the Wine prefix of this script and of what it starts. No display is used.
wine_environment() {
    WINEPREFIX=$(realpath -m "$1")
    export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe=d'
    # Wine takes the encoding of arguments and paths from here.
    export LC_ALL=C.UTF-8
    unset DISPLAY WAYLAND_DISPLAY
    mkdir -p "$(dirname "$WINEPREFIX")"
    # Any program makes the prefix. Not "wineboot -i": that starts the service manager twice, and COM servers are not found.
    wine cmd /c rem >/dev/null 2>&1 </dev/null
    # What the boot has started ends by itself a little later; a COM server that it had served would be lost with it.
    wineserver -k || true
    wineserver -w
}

# stop_wine: ends every program of this script's Wine prefix, and the prefix's server.
stop_wine() {
    [[ -n ${WINEPREFIX:-} && -d $WINEPREFIX ]] || return 0
    wineserver -k >/dev/null 2>&1 || true
    wineserver -w >/dev/null 2>&1 || true
}
