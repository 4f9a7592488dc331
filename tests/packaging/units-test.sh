#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# units-test.sh CMAKE BUILD-FOLDER BINDIR LIBDIR PREFIX: systemd understands the units, and what they start
# does its work on an installation.
set -euo pipefail

# shellcheck source=tests/packaging/stage.sh
source "$(dirname -- "$0")/stage.sh"
bin=$stage$3
lib=$stage$4/obrim
units=$stage$5/lib/systemd

# understood MANAGER OPTION...: its units, as instances and with the programs where they lie here.
understood() {
    local folder=$stage/$1 unit name words
    mkdir "$folder"
    for unit in "$units/$1"/*; do
        name=${unit##*/}
        sed "s,^ExecStart=,&$stage," "$unit" >"$folder/${name/@/@srv-plant}"
    done
    shift
    words=$(XDG_RUNTIME_DIR=$stage systemd-analyze verify --man=no "$@" "$folder"/* 2>&1) || die "systemd: $words"
    [[ -z $words ]] || die "systemd: $words"
}
if command -v systemd-analyze >/dev/null; then
    understood system
    understood user --user
fi

plant=$stage/plant
PATH=$bin:$PATH
obrimctl init "$plant" --database sqlite >"$stage/log"
# 300 events in 347 days.
sensor-sim --config "$plant/Config" --sensors 3 --rate 0.00001 --fill 300 >"$stage/log"
sensor=$(obrimctl -C "$plant" sensors -n 1 -o json | jq -r .sensor)
obrimctl -C "$plant" put "$sensor" stop >"$stage/log"
count() { obrimctl -C "$1" "$2" -n all -o json | wc -l; }

# Backups of three days, of which two are kept; one of today is there.
mkdir -p "$plant/Backups/2026-01-02" "$plant/Backups/2026-01-03" "$plant/Backups/mine"
"$lib/obrim-backup" "$plant" 2 >"$stage/log" 2>&1 || die "no backup: $(cat "$stage/log")"
mapfile -t backups < <(find "$plant/Backups" -mindepth 1 -maxdepth 1 -printf '%f\n' | sort)
[[ ${backups[*]} =~ ^'2026-01-03 '[0-9-]+' mine'$ ]] ||
    die "the backups are ${backups[*]}"
today=$plant/Backups/${backups[1]}
(($(count "$today" events) == 300 && $(count "$today" commands) == 1)) || die 'the backup is not whole'
! "$lib/obrim-backup" "$plant" none 2>"$stage/log" || die 'a number that is none is taken'
! "$lib/obrim-backup" "$stage" 2>"$stage/log" || die 'any folder is taken for an installation'

"$lib/obrim-thin-out" "$plant" 100 >"$stage/log" 2>&1 || die "nothing is thinned out: $(cat "$stage/log")"
left=$(count "$plant" events)
((left >= 84 && left <= 88)) || die "$left events are left of 100 days"
(($(obrimctl -C "$plant" events -n all -U -100d -o json | wc -l) == 0)) || die 'an old event is left'
(($(count "$plant" commands) == 1)) || die 'a new command was deleted'
! "$lib/obrim-thin-out" "$plant" 0 2>"$stage/log" || die 'a number of days that is none is taken'
