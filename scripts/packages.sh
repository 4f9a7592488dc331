# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# Debian packages: which are missing, and getting them without questions.

# packages_of LIST...: the packages of scripts/packages/LIST.txt, one a line. "NAME [amd64]" is for the
# targets of that architecture only.
packages_of() {
    local list
    for list in "$@"; do
        sed -e '/^#/d' -e "s/ \\[${target_name##*-}\\]\$//" -e '/ /d' "$scripts/packages/$list.txt"
    done | sort -u
}

# missing_packages LIST...: those of them that are not installed. A root without /proc has no place
# for bash's process substitution.
missing_packages() {
    local installed
    installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p')
    packages_of "$@" | grep -vxF "$installed" || true
}

# Words in front of a command that needs root; fails where there is no way to become root unasked.
as_root() {
    if ((EUID == 0)); then
        "$@"
    elif have sudo && sudo -n true 2>/dev/null; then
        sudo -n "$@"
    else
        return 126
    fi
}

apt() { as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=120 "$@"; }

install_packages() {
    apt install --yes --no-install-recommends "$@"
}

# Index files may be absent or older than the archive: only then is there a reason to fetch them.
update_and_install() {
    install_packages "$@" || { apt update && install_packages "$@"; }
}

# last_errors LOG: what apt-get or mmdebstrap complained of, or else its last words.
last_errors() { grep -E '^(E|W|Err)[: ]' "$1" | tail -n 5 | grep . || tail -n 5 "$1"; }

# need_packages LIST...: install what is missing, or say in one message why that cannot be.
need_packages() {
    have apt-get || die "this machine is not Debian (there is no apt-get). Needed are: $(packages_of "$@" | paste -sd' ')"
    local list missing log
    list=$(missing_packages "$@")
    [[ -n $list ]] || return 0
    mapfile -t missing <<<"$list"
    as_root true || die "these packages are missing and only root can install them:
  apt-get install --no-install-recommends ${missing[*]}
Run that as root, then this command again."
    say "installing ${missing[*]}"
    mkdir -p "$build_root"
    log="$build_root/apt.log"
    # apt-get waits for dpkg's lock, but not for that of its own lists.
    exec {apt_lock}>"$build_root/apt.lock"
    flock "$apt_lock"
    update_and_install "${missing[@]}" >"$log" 2>&1 ||
        die "apt-get cannot install ${missing[*]}:
$(last_errors "$log")
Is there a network, and does apt-get work otherwise? Its whole output is in $log"
    exec {apt_lock}>&-
}
