# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# For the tests of what is installed, whose first arguments are CMAKE and BUILD-FOLDER: installs into the folder
# $stage, as a package's build does, which goes with the test.

stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
failures=0

# fail WHAT [HOW]: counts; a test ends with `((failures == 0))`.
fail() {
    printf '%s: %s\n' "${0##*/}" "$1${2:+: $2}" >&2
    failures=$((failures + 1))
}

die() {
    fail "$@"
    exit 1
}

DESTDIR=$stage "$1" --install "$2" >"$stage/log" || die "cmake --install fails" "$(tail -n 5 "$stage/log")"
