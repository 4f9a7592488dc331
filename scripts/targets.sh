# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# Targets: the machine itself, or a Debian of its own in build/roots/NAME.

readonly known_targets="debian12-amd64 debian12-i386 debian13-amd64"

# os_field KEY: a field of /etc/os-release without its quotes.
os_field() { sed -n "s/^$1=//p" /etc/os-release 2>/dev/null | tr -d '"'; }

# The target that this machine is, or nothing.
native_target() {
    local name
    name=$(os_field ID)$(os_field VERSION_ID)-$(dpkg --print-architecture 2>/dev/null) || return 0
    [[ " $known_targets " != *" $name "* ]] || printf '%s' "$name"
}

# choose_target NAME: set target_name; the machine's own where NAME is empty.
choose_target() {
    target_name=${1:-$(native_target)}
    [[ -n $target_name ]] || die "this machine is none of the targets ($known_targets).
On another Linux with mmdebstrap, root can build in a root of its own: ./dev COMMAND --target debian12-amd64"
    [[ " $known_targets " == *" $target_name "* ]] || die "no target '$target_name'; there are: $known_targets"
}

is_native() { [[ $target_name == "$(native_target)" ]]; }

# The package list of the target's toolkit generation.
toolkit_list() {
    case "$target_name" in
    debian12-*) printf 'qt5' ;;
    debian13-*) printf 'qt6' ;;
    esac
}
