# shellcheck shell=bash disable=SC2034,SC2154 # variables of the scripts that source it
# The part of scripts/setup that gets a 32-bit Wine and makes the project's prefixes. Sourced by it.
. "$repo_dir/scripts/lib/wine-env.sh"

# take_lock FILE: waits until no other set-up holds FILE. Descriptor 9 is closed for whatever keeps running later.
take_lock() {
    mkdir -p "${1%/*}" || die "can't make the directory ${1%/*}"
    exec 9>"$1" || die "can't write the lock file $1"
    flock -w 1800 9 || die "another scripts/setup has held $1 for half an hour: end it, then try again"
}

# ensure_wine VARIANT: after it, scripts/wine works with that Wine (see wine_variant).
ensure_wine() {
    local variant=$1 root=$tools_dir/wine32 release='' arch=win32
    wine_places "$repo_dir" "$variant"
    remove_left_prefixes
    if [ -f "$wine_prefix/system.reg" ] && wine_load_choice; then
        return
    fi
    case $variant in
        x64)
            arch=win64
            say "making the Wine prefix $wine_prefix"
            make_prefix program /usr/lib/wine/wine64 ||
                die "the Wine prefix could not be made; the log is build/logs/${wine_prefix##*/}.log"
            wine_load_choice
            return ;;
        newer) root=$root-newer release=trixie ;;
        *)
            if try_users_wine; then
                wine_load_choice
                return
            fi ;;
    esac
    ensure_wine_root "$root" "$release"
    say "making the Wine prefix $wine_prefix"
    make_prefix root "$root" || die "the Wine prefix could not be made; the log is build/logs/${wine_prefix##*/}.log"
    wine_load_choice
}

# try_users_wine: takes the machine's own wine if a prefix made by it runs a 32-bit program.
try_users_wine() {
    local program
    program=$(command -v wine) || return 1
    program=$(readlink -f "$program")
    say "trying this machine's own Wine, $program"
    if make_prefix program "$program"; then
        return 0
    fi
    say "it runs no 32-bit programs; leaving it alone"
    return 1
}

# ensure_wine_root DIR [RELEASE]: unpacks the 32-bit Wine of that Debian release (this machine's own if none is named) into
# DIR, beside the system instead of into it: apt needs the i386 and amd64 package indexes in step to install it, and they
# often are not.
ensure_wine_root() (
    take_lock "$1.lock"
    remove_left_behind "$1"
    if [ -x "$1/usr/lib/wine/wine" ]; then
        exit 0
    fi
    [ ! -e "$1" ] || die "$1 is there, but holds no Wine: remove it, then try again"
    unpack_wine "$@"
)

# remove_left_behind DIR: removes what a killed unpack_wine left. May belong to root.
remove_left_behind() {
    local left
    for left in "$1".new.*; do
        [ ! -e "$left" ] || as_root rm -rf "$left"
    done
}

# unpack_wine DIR [RELEASE]: makes DIR in one step, from a directory that is complete.
unpack_wine() {
    local release mirror new
    if [ -z "$(debian_mirror)" ]; then
        run_logged "$repo_dir/build/logs/apt-update.log" apt_get update ||
            die "apt-get could not fetch its package lists; its words are above"
    fi
    read -r release mirror < <(debian_mirror) ||
        die "this machine's apt knows no archive of Debian's own release, so there is nowhere to take Wine from"
    new=$1.new.$$
    trap 'as_root rm -rf "$new"' EXIT
    trap 'exit 130' INT TERM HUP
    say "fetching 32-bit Wine into $1"
    fetch_wine "$new" "${2:-$release}" "$mirror" || die "32-bit Wine could not be fetched; mmdebstrap's words are above"
    as_root chown -R "$(id -u):$(id -g)" "$new"
    chmod 755 "$new"
    mend_wine_root "$new" "$1"
    mv -T "$new" "$1"
    trap - EXIT
}

# fetch_wine DIR RELEASE MIRROR: by this machine's way through a proxy. The archive's signature is always checked, and so are
# its dates, but for a machine whose own apt is told not to look at them and whose clock or mirror doesn't let them pass.
fetch_wine() {
    local log=$repo_dir/build/logs/mmdebstrap.log
    run_logged "$log" unpack_packages "$@" '(https?|ftp)::Proxy|ForceIPv' && return
    grep -qE 'is not valid yet|is expired' "$log" || return 1
    apt-config dump | grep -qE '^Acquire::Check-[^ ]* "(false|no|0)";$' || return 1
    say "this machine's apt takes archives whatever their dates, so this once more without them"
    as_root rm -rf "$1"
    run_logged "$log" unpack_packages "$@" '(https?|ftp)::Proxy|ForceIPv|Check-'
}

# unpack_packages DIR RELEASE MIRROR SETTINGS: with those of apt's settings Acquire::... that match the expression.
unpack_packages() {
    local options=() line
    while read -r line; do
        options+=("--aptopt=$line")
    done < <(apt-config dump | grep -E "^Acquire::($4).* \"[^\"]+\";\$" || true)
    as_root env TMPDIR="$tools_dir" mmdebstrap --mode=root --variant=extract --arch=i386 --include=wine,wine32,libgnutls30 \
        --aptopt='Acquire::Retries "3"' "${options[@]}" "$2" "$1" "deb $3 $2 main"
}

# mend_wine_root DIR PLACE: what the packages leave to their installation, or expect at a fixed place. DIR will be PLACE.
mend_wine_root() {
    local loader
    # The packaged wineserver is a script with a fixed path in it.
    ln -sfn wineserver32 "$1/usr/lib/wine/wineserver"
    # Wine 10's server looks for its tables in a folder of that name below its data.
    [ -e "$1/usr/share/wine/wine" ] || ln -s . "$1/usr/share/wine/wine"
    # Half a gigabyte of debug sections, which would be copied into every prefix. The symbols for stack traces stay.
    find "$1/usr/lib/i386-linux-gnu/wine/i386-windows" -type f -print0 |
        xargs -0 -n 64 -P "$(nproc)" llvm-strip-19 --strip-debug ||
        die "llvm-strip-19 could not take the debug sections out of Wine's libraries"
    # With the C library that came along, which may be newer than this machine's, only its own loader goes.
    loader=$(cd "$1" && find usr/lib/i386-linux-gnu lib/i386-linux-gnu -name ld-linux.so.2 2>/dev/null | head -n 1)
    [ -n "$loader" ] || die "the packages of 32-bit Wine brought no loader"
    patchelf --set-interpreter "$2/$loader" "$1/usr/lib/wine/wine" "$1/usr/lib/wine/wineserver32" ||
        die "patchelf could not name the loader in Wine's programs"
}

# make_prefix KIND PLACE: makes the project's prefix with that Wine (as in $wine_choice), and records the choice. It grows
# under a name of this run's own: what a killed run has left running goes on writing under the old one.
# Returns 1, leaving nothing behind, if that Wine can't run programs of $arch.
make_prefix() (
    local log=$repo_dir/build/logs/${wine_prefix##*/}.log new='' xvfb=''
    new=$(mktemp -d "$wine_prefix.new.XXXXXX") && chmod 755 "$new" || exit 1
    "wine_use_$1" "$2"
    wine_defaults
    export WINEARCH=$arch WINEPREFIX=$new
    trap drop_prefix EXIT
    trap 'exit 130' INT TERM HUP
    mkdir -p "$repo_dir/build/logs"
    mkdir -p "$new/drive_c/windows/system32" || exit 1
    if [ "$1" = root ]; then
        # Wine's own libraries import it, and look for it at a place under /usr of this machine.
        cp "$2/usr/i686-w64-mingw32/lib/zlib1.dll" "$new/drive_c/windows/system32/" || exit 1
    fi
    start_xvfb || exit 1
    first_start >"$log" 2>&1 </dev/null 9>&- || exit 1
    rm -rf "$wine_prefix"
    mv -T "$new" "$wine_prefix" || exit 1
    printf '%s %s\n' "$1" "$2" >"$wine_choice.new" && mv "$wine_choice.new" "$wine_choice" || exit 1
)

# remove_left_prefixes: ends what a killed make_prefix has left running, and removes what it has left behind.
remove_left_prefixes() {
    local left tries
    for left in "$wine_prefix".new*; do
        [ -d "$left" ] || continue
        for ((tries = 0; tries < 100; tries++)); do
            kill_programs_of "$left" || break
            sleep 0.1
        done
        rm -rf "$left"
    done
}

# kill_programs_of PREFIX: kills what was started with that prefix, Wine's server and the X server too. Returns 1 if there
# was nothing.
kill_programs_of() {
    local environ pid found=1
    for environ in /proc/[0-9]*/environ; do
        if grep -qszxF "WINEPREFIX=$1" "$environ"; then
            pid=${environ#/proc/}
            kill -KILL "${pid%/environ}" 2>/dev/null || true
            found=0
        fi
    done
    return "$found"
}

# drop_prefix: ends what make_prefix started. Runs on every way out of it.
drop_prefix() {
    if [ -d "$new" ]; then
        "$wineserver_program" -k >/dev/null 2>&1 9>&- || true
        timeout --foreground 30 "$wineserver_program" -w >/dev/null 2>&1 9>&- || true
        rm -rf "$new"
    fi
    if [ -n "$xvfb" ]; then
        kill "$xvfb" 2>/dev/null || true
        wait "$xvfb" 2>/dev/null || true
    fi
}

# start_xvfb: a private X server on a free display, for the windows of the first start. Sets xvfb and DISPLAY.
start_xvfb() {
    local told number='' tries
    told=$new/.display
    : >"$told"
    Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$told" >/dev/null 2>&1 </dev/null 9>&- &
    xvfb=$!
    for ((tries = 0; tries < 300; tries++)); do
        read -r number <"$told" && break
        kill -0 "$xvfb" 2>/dev/null || break
        sleep 0.1
    done
    rm -f "$told"
    if [ -z "$number" ]; then
        printf 'setup: the X server Xvfb did not start\n' >&2
        return 1
    fi
    export DISPLAY=:$number
}

# first_start: fills the new prefix and shows that a program runs in it.
first_start() {
    local code=0 link
    timeout --foreground 300 "${wine_command[@]}" wineboot --init || return 1
    # No window that waits for a click when a program ends by a fault, for tests without a user.
    timeout --foreground 60 "${wine_command[@]}" reg add 'HKCU\Software\Wine\WineDbg' \
        /v ShowCrashDialog /t REG_DWORD /d 0 /f || return 1
    timeout --foreground 60 "${wine_command[@]}" cmd /c exit 42 || code=$?
    [ "$code" -eq 42 ] || return 1
    timeout --foreground 60 "$wineserver_program" -w || return 1
    grep -q "^#arch=$arch" "$WINEPREFIX/system.reg" || return 1
    # Wine links the documents folders to the user's own ones: tests must not write there.
    find "$WINEPREFIX/drive_c/users" -type l | while read -r link; do
        rm "$link" && mkdir "$link" || return 1
    done
}
