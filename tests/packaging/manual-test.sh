#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# manual-test.sh CMAKE BUILD-FOLDER BINDIR LIBDIR MANDIR: each installed program and each command of obrimctl
# has a manual page with all that its --help tells.
set -euo pipefail

# shellcheck source=tests/packaging/stage.sh
source "$(dirname -- "$0")/stage.sh"
build=$2
bin=$stage$3
lib=$stage$4
pages=$stage$5/man1

# has_page PAGE SECTIONS COMMAND...: the page of a command, with these sections and its options.
has_page() {
    local page=$pages/$1.1 sections=$2 name=$1 section option
    shift 2
    [[ -s $page ]] || {
        fail "$name" 'there is no page'
        return
    }
    for section in NAME SYNOPSIS DESCRIPTION OPTIONS '"EXIT STATUS"' EXAMPLES '"SEE ALSO"' $sections; do
        grep -qx "[.]SH $section" "$page" || fail "$name" "the page has no section $section"
    done
    "$@" --help >"$stage/help"
    sed -e 's/\\f.//g' -e 's/\\//g' "$page" >"$stage/page"
    while read -r option; do
        grep -qF -e "$option" "$stage/page" || fail "$name" "the page does not tell of $option"
    done < <(grep -oE '^ +(-., *)?--[a-z-]+' "$stage/help" | grep -oE -- '--[a-z-]+')
    ! grep -qF "$build" "$page" || fail "$name" 'the page names the folder of the build'
}

export QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR=$stage
programs=("$bin"/*)
((${#programs[@]} >= 5)) || fail "$bin" "there are only ${#programs[@]} programs"
for program in "${programs[@]}"; do
    has_page "${program##*/}" FILES "$program"
done
for host in "$lib"/obrim/dblib-host-*; do
    "$host" --version | grep -qx 'dblib-host [0-9.]*' || fail "$host" 'does not tell its version'
    has_page dblib-host '' "$host"
done
mapfile -t commands < <("$bin/obrimctl" --help-json | jq -r '.commands[].name')
((${#commands[@]} >= 8)) || fail obrimctl "there are only ${#commands[@]} commands"
for command in "${commands[@]}"; do
    has_page "obrimctl-$command" '' "$bin/obrimctl" "$command"
done
exit $((failures > 0))
