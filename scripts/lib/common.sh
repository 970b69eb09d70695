# shellcheck shell=bash disable=SC2034,SC2154 # variables of the scripts that source it
# Shared by the scripts: places, messages, logs, and the rights of root. Sourced, never run.
# Sets repo_dir and tools_dir. The sourcing script has set -euo pipefail.

repo_dir=$(cd "${BASH_SOURCE[0]%/*}/../.." && pwd -P)
tools_dir=${WENDAX_TOOLS:-$repo_dir/build/tools}
case $tools_dir in
    /*) ;;
    *) tools_dir=$PWD/$tools_dir ;;
esac

# show_help ARGS...: where the first is --help, prints the comment on top of the calling script, and ends it.
show_help() {
    case ${1:-} in
        -h | --help) sed -n '2,/^[^#]/{/^#/!d;s/^# \{0,1\}//p}' "$0"; exit 0 ;;
    esac
}

# run_demo PROGRAM [--x86] [--here]: sets up, builds, and ends in that demonstration of scripts/lib.
run_demo() {
    local program=$1 preset=windows-x64 argument
    shift
    show_help "$@"
    for argument in "$@"; do
        case $argument in
            --x86) preset=windows ;;
            --here) ;;
            *) die "unknown argument '$argument': see scripts/${0##*/} --help" ;;
        esac
    done
    cd "$repo_dir" || exit
    scripts/setup
    scripts/build "$preset"
    exec env PYTHONPATH=. WENDAX_BIN="build/$preset/bin" /usr/bin/python3 "scripts/lib/$program" "$@"
}

# say TEXT...: one line of the set-up's progress.
say() {
    printf 'setup: %s\n' "$*"
}

# die TEXT...: ends the script with one sentence about what went wrong and what to do.
die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# run_logged LOGFILE COMMAND...: runs the command silently; where it fails, shows the end of what it wrote and
# returns its exit code.
run_logged() {
    local log=$1 code=0
    shift
    mkdir -p "${log%/*}"
    "$@" >"$log" 2>&1 </dev/null || code=$?
    if [ "$code" -ne 0 ]; then
        tail -n 25 "$log" >&2
        printf '(all of it: %s)\n' "$log" >&2
    fi
    return "$code"
}

# as_root COMMAND...: runs the command with the rights of root.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        die "'$1' needs root: run scripts/setup as root, or install sudo"
    fi
}
