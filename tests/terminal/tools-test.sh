#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# tools-test.sh DBLIB-CHECK SENSOR-SIM: no terminal obeys the name of a file that they complain of.
set -euo pipefail

check() {
    said=$("$@" $'/no\e[2Jsuch/file' 2>&1) || true
    [[ $said == *'/no\x1b[2Jsuch'* && $said != *$'\e'* ]] || {
        printf 'tools-test: %s says: %q\n' "$1" "$said" >&2
        exit 1
    }
}

check "$1"
check "$2" --config / --log
