#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# on-display.sh REPOSITORY PROGRAM: runs the program on a virtual display and with settings of its
# own. The display chooses its number itself, whatever others start at the same time.
set -euo pipefail

repository=$1
program=$2
readonly scripts="$repository/scripts"
# shellcheck source=scripts/common.sh
source "$scripts/common.sh"
# shellcheck source=scripts/virtual-display.sh
source "$scripts/virtual-display.sh"

private_dir=$(mktemp -d)
children=()
clean_up() {
    local i
    for ((i = ${#children[@]} - 1; i >= 0; i--)); do
        { kill "${children[i]}" && wait "${children[i]}"; } 2>/dev/null || true
    done
    rm -rf "$private_dir"
}
trap clean_up EXIT

use_private_settings
start_display
beside "$program"
wait "${children[-1]}"
