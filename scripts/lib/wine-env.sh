# shellcheck shell=bash disable=SC2034,SC2154 # variables of the scripts that source it
# Finds the project's Wine and sets the environment to run it. Sourced.
# WENDAX_WINE=newer chooses the second one, of "scripts/setup --wine newer", which has a prefix of its own.
# Afterwards wine_program and wineserver_program are set, and WINEPREFIX, WINEDEBUG and WINEDLLOVERRIDES exported.
# A caller's own WINEPREFIX, WINEDEBUG and WINEDLLOVERRIDES are kept.

# wine_fail TEXT...: ends the calling script with one sentence. 125 is no exit code of a Windows program in use here.
wine_fail() {
    printf 'wine: %s\n' "$*" >&2
    exit 125
}

# wine_places REPO: sets wine_prefix, the project's prefix for the Wine that WENDAX_WINE names, and wine_choice, the file
# that says where that Wine is.
wine_places() {
    local suffix=
    case ${WENDAX_WINE:-} in
        '') ;;
        newer) suffix=-newer ;;
        *) wine_fail "WENDAX_WINE is '$WENDAX_WINE': unset it, or say 'newer'" ;;
    esac
    wine_prefix=$1/build/wineprefix$suffix
    wine_choice=$1/build/wine$suffix.conf
}

# wine_use_root DIR: takes Wine from the unpacked 32-bit Debian packages in DIR.
wine_use_root() {
    wine_program=$1/usr/lib/wine/wine
    wineserver_program=$1/usr/lib/wine/wineserver
    wine_libraries=$1/usr/lib/i386-linux-gnu:$1/lib/i386-linux-gnu
    export LD_LIBRARY_PATH=$wine_libraries${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
}

# wine_use_program FILE: takes a Wine that the machine already has.
wine_use_program() {
    wine_program=$1
    wineserver_program=wineserver
    if [ -x "${1%/*}/wineserver" ]; then
        wineserver_program=${1%/*}/wineserver
    fi
}

# wine_load_choice: uses the Wine that scripts/setup chose ($wine_choice: "root DIR" or "program FILE").
# Returns 1 if there is none, or it is gone.
wine_load_choice() {
    local kind place
    [ -r "$wine_choice" ] || return 1
    read -r kind place <"$wine_choice" || return 1
    case $kind in
        root) [ -x "$place/usr/lib/wine/wine" ] || return 1; wine_use_root "$place" ;;
        program) [ -x "$place" ] || return 1; wine_use_program "$place" ;;
        *) return 1 ;;
    esac
}

# wine_defaults: quiet, and without the parts that would ask the user to download something (mono, gecko) or
# write menu entries into the user's home directory. Where the environment names no locale, one that knows more than
# ASCII: without it Wine can't make a file whose name has other letters. Wine 10 aborts in free() where TMPDIR is set.
wine_defaults() {
    case ${LC_ALL:-${LC_CTYPE:-${LANG:-}}} in
        '' | C | POSIX) export LC_ALL=C.UTF-8 ;;
    esac
    unset TMPDIR
    export WINEDEBUG=${WINEDEBUG--all}
    export WINEDLLOVERRIDES=${WINEDLLOVERRIDES-winemenubuilder.exe=d;mscoree,mshtml=}
}

# wine_enter REPO: all of the above for a program that is to run now, in the caller's prefix or the project's.
wine_enter() {
    local setup=scripts/setup${WENDAX_WINE:+ --wine $WENDAX_WINE}
    wine_places "$1"
    wine_load_choice || wine_fail "that Wine is not set up here yet: run $setup first"
    wine_defaults
    if [ -n "${WINEPREFIX:-}" ]; then
        [ -f "$WINEPREFIX/system.reg" ] ||
            wine_fail "WINEPREFIX names no Wine prefix ($WINEPREFIX): unset it to use the one of $setup"
        case $WINEPREFIX in
            /*) ;;
            *) WINEPREFIX=$PWD/$WINEPREFIX ;;
        esac
    else
        WINEPREFIX=$wine_prefix
        [ -f "$WINEPREFIX/system.reg" ] || wine_fail "the project's Wine prefix is missing: run $setup first"
    fi
    export WINEPREFIX
}

# wine_match_display: Wine's desktop lives as long as anything runs in the prefix, and some seconds more. One that was
# begun without a display never shows a window, so a program with a display lets it end first (or gives up waiting).
wine_match_display() {
    local mark=$WINEPREFIX/.without-display
    if [ -z "${DISPLAY:-}" ]; then
        [ -e "$mark" ] || : >"$mark"
    elif [ -e "$mark" ]; then
        timeout --foreground 20 "$wineserver_program" -w >/dev/null 2>&1 </dev/null || :
        rm -f "$mark"
    fi
}
