# shellcheck shell=bash disable=SC2034,SC2154 # variables of the scripts that source it
# The part of scripts/setup that changes the machine: Debian packages and a locale. Sourced by it, and by scripts that want
# packages of their own.

# run_as_owner ARGS...: under "sudo scripts/setup" the files in build/ must still belong to the checkout's owner (Wine
# refuses another user's prefix), so the script starts again as the owner and asks sudo where it needs root.
run_as_owner() {
    local owner
    owner=$(stat -c %u "$repo_dir")
    if [ "$(id -u)" -eq 0 ] && [ "${SUDO_UID:-0}" -ne 0 ] && [ "$owner" -eq "$SUDO_UID" ]; then
        exec sudo -H -u "#$SUDO_UID" CI="${CI:-}" WENDAX_TOOLS="${WENDAX_TOOLS:-}" "$repo_dir/scripts/setup" "$@"
    fi
}

packages_file=$repo_dir/scripts/packages.txt

# wanted_packages: the names in that file.
wanted_packages() {
    sed -e 's/#.*//' -e '/^[[:space:]]*$/d' -e 's/[[:space:]]//g' "$packages_file"
}

# missing_packages: those of them that are not installed.
missing_packages() {
    comm -23 <(wanted_packages | sort) \
        <(wanted_packages | xargs dpkg-query -W -f '${db:Status-Abbrev}${Package}\n' 2>/dev/null |
            sed -n 's/^ii \?//p' | sort)
}

apt_get() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -y \
        -o DPkg::Lock::Timeout=600 -o Acquire::Retries=3 -o Dpkg::Use-Pty=0 "$@"
}

ensure_packages() {
    local missing
    command -v apt-get >/dev/null && command -v dpkg-query >/dev/null ||
        die "this is not Debian (no apt-get): install what scripts/packages.txt lists by hand"
    mapfile -t missing < <(missing_packages)
    if [ "${#missing[@]}" -eq 0 ]; then
        return
    fi
    say "installing ${#missing[@]} packages: ${missing[*]}"
    run_logged "$repo_dir/build/logs/apt-update.log" apt_get update ||
        say "the package lists could not all be refreshed; going on with those that are here"
    run_logged "$repo_dir/build/logs/apt-install.log" apt_get install --no-install-recommends "${missing[@]}" ||
        die "apt-get could not install the packages; its words are above"
}

# The Russian texts of the dialogs are Windows-1251: Wine takes its ANSI code page from the locale.
ensure_locale() {
    if locale -a 2>/dev/null | grep -qx 'ru_RU\.utf8'; then
        return
    fi
    say "generating the locale ru_RU.UTF-8"
    # Listed in locale.gen too, or the next upgrade of the package "locales" would drop it.
    as_root sed -i 's/^# *\(ru_RU\.UTF-8 UTF-8\)/\1/' /etc/locale.gen ||
        die "can't change /etc/locale.gen, the list of this machine's locales"
    run_logged "$repo_dir/build/logs/locale-gen.log" as_root locale-gen --keep-existing ||
        die "the locale ru_RU.UTF-8 could not be generated; locale-gen's words are above"
    locale -a 2>/dev/null | grep -qx 'ru_RU\.utf8' ||
        die "locale-gen ended well, but there is still no locale ru_RU.UTF-8: add it to /etc/locale.gen"
}

# debian_mirror: the address from which this machine's own apt takes the main archive of its release.
debian_mirror() {
    local codename
    codename=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-}")
    apt-get indextargets --format '$(ORIGIN) $(CODENAME) $(COMPONENT) $(REPO_URI)' 'Created-By: Packages' |
        awk -v c="$codename" '$1 == "Debian" && $2 == c && $3 == "main" { print c, $4; exit }'
}
