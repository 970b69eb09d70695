# shellcheck shell=bash disable=SC2034,SC2154 # variables of the scripts that source it
# Finds the project's Wine and sets the environment to run it. Sourced.
# There is one for 32-bit programs and one for 64-bit programs, each with a prefix of its own. WENDAX_WINE=newer chooses
# another one for 32-bit programs, of "scripts/setup --wine newer".
# Afterwards wine_program, wine_command (an array: how it is run) and wineserver_program are set, and WINEPREFIX, WINEDEBUG and WINEDLLOVERRIDES exported.
# A caller's own WINEPREFIX, WINEDEBUG and WINEDLLOVERRIDES are kept.

# wine_fail TEXT...: ends the calling script with one sentence. 125 is no exit code of a Windows program in use here.
wine_fail() {
    printf 'wine: %s\n' "$*" >&2
    exit 125
}

# wine_variant MACHINE: prints which of the Wines is meant: x64 for 64-bit programs, nothing or newer for those of x86.
wine_variant() {
    case $1:${WENDAX_WINE:-} in
        x64:) echo x64 ;;
        x64:newer) wine_fail "the newer Wine runs 32-bit programs only" ;;
        *: | *:newer) echo "${WENDAX_WINE:-}" ;;
        *) wine_fail "WENDAX_WINE is '$WENDAX_WINE': unset it, or say 'newer'" ;;
    esac
}

# machine_of_program FILE: prints x86 or x64, or nothing when it is no Windows program of this system.
machine_of_program() {
    local offset machine
    [ -f "$1" ] && offset=$(od -An -tu4 -j60 -N4 "$1" 2>/dev/null) && [ -n "$offset" ] || return 0
    machine=$(od -An -tx2 -j$((offset + 4)) -N2 "$1" 2>/dev/null) || return 0
    case $machine in
        ' 014c') echo x86 ;;
        ' 8664') echo x64 ;;
    esac
}

# machine_of_prefix DIR: prints which programs it is for.
machine_of_prefix() {
    case $(head -n 5 "$1/system.reg") in
        *'#arch=win64'*) echo x64 ;;
        *) echo x86 ;;
    esac
}

# wine_places REPO VARIANT: sets wine_prefix, the project's prefix for that Wine (see wine_variant), and wine_choice, the
# file that says where it is.
wine_places() {
    wine_prefix=$1/build/wineprefix${2:+-$2}
    wine_choice=$1/build/wine${2:+-$2}.conf
}

# wine_use_root DIR: takes Wine from the unpacked 32-bit Debian packages in DIR.
wine_use_root() {
    wine_program=$1/usr/lib/wine/wine
    wine_command=("$wine_program")
    wineserver_program=$1/usr/lib/wine/wineserver
    wine_libraries=$1/usr/lib/i386-linux-gnu:$1/lib/i386-linux-gnu
    export LD_LIBRARY_PATH=$wine_libraries${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
}

# wine_use_program FILE: takes a Wine that the machine already has. 64-bit programs need the page at 0x7ffe0000. Since 6.9
# Linux begins their heap anywhere in the gigabyte around it: one in some thousands gets that page, and ends before its first
# instruction, by code 1 or, as another's child, as if it had never been. So they get fixed addresses, where they may.
wine_use_program() {
    wine_program=$1
    wine_command=("$1")
    if [ "${1##*/}" = wine64 ] && setarch -R true 2>/dev/null; then
        wine_command=(setarch -R "$1")
    fi
    wineserver_program=wineserver
    if [ "${1##*/}" = wine64 ] && [ -x "${1%/*}/wineserver64" ]; then
        wineserver_program=${1%/*}/wineserver64
    elif [ -x "${1%/*}/wineserver" ]; then
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

# wine_enter REPO [PROGRAM]: all of the above for a program that is to run now, in the caller's prefix or the project's. For
# which machine it is, its file says; of a Windows name, the caller's prefix.
wine_enter() {
    local setup=scripts/setup${WENDAX_WINE:+ --wine $WENDAX_WINE} machine variant
    machine=$(machine_of_program "${2:-}")
    if [ -f "${WINEPREFIX:-}/system.reg" ]; then
        if [ -n "$machine" ] && [ "$machine" != "$(machine_of_prefix "$WINEPREFIX")" ]; then
            wine_fail "WINEPREFIX is not for programs of $machine ($WINEPREFIX): unset it to use the one of $setup"
        fi
        machine=$(machine_of_prefix "$WINEPREFIX")
    fi
    variant=$(wine_variant "$machine") || exit
    wine_places "$1" "$variant"
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

# wine_begin_server: begins the server of the prefix for 64-bit programs, if it isn't there. Left to themselves they
# begin it by Debian's script, which has it end with the last program; while it ends nothing can connect, and a program
# that starts then gives up after 5 s, which is too soon on a busy machine. Begun here it stays for 3 s, as for 32 bits.
wine_begin_server() {
    case $wineserver_program in
        */wineserver64) "$wineserver_program" >/dev/null 2>&1 </dev/null || : ;; # one is there
    esac
}
