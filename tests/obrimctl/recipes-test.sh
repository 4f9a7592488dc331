#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# recipes-test.sh PAGE PROGRAM LIBRARY SIMULATOR BINDIR LIBDIR: runs the recipes of the page as
# they stand there, beside sensors at work, and looks at what they did.
set -euo pipefail

page=$1
program=$2
library=$3
simulator=$4
# Its name stands in the page's lines, so it has no blanks, whatever the build folder has.
folder=$(mktemp -d /tmp/recipes-test.XXXXXX)
simulator_pid=
trap '[[ -z $simulator_pid ]] || kill "$simulator_pid"
    rm -rf "$folder"' EXIT
bin=$folder/usr$5
lib=$folder/usr$6

fail() {
    printf 'recipes-test: %s\n' "$*" >&2
    exit 1
}

# As installed: the program finds the library beside itself.
mkdir -p "$bin" "$lib/obrim"
cp "$program" "$simulator" "$bin"
cp "$library" "$lib/obrim/sqlite.so"
PATH=$bin:$PATH
plant=$folder/plant

# recipe NUMBER: its lines, for this test's folders.
recipe() {
    local lines
    lines=$(awk -v title="^[*][*]$1[.] " '
        $0 ~ title { found = 1; next }
        found && /^    / { print substr($0, 5); ++count }
        found && /^[^ ]/ { exit }
        END { exit count == 0 }' "$page") || fail "the page has no recipe $1"
    printf '%s\n' "${lines//\/srv\//$folder/}"
}

# run NUMBER: carries it out at the place that the page says.
run() { (cd "$plant/bin" && bash -c "$(recipe "$1")"); }

obrimctl init "$plant" --database sqlite >"$folder/init"
sensor-sim --config "$plant/Config" --sensors 12 --rate 0.05 --fill 10000 >"$folder/filled"
sensor-sim --config "$plant/Config" --sensors 12 --rate 50 >"$folder/simulator.log" 2>&1 &
simulator_pid=$!
ctl() { obrimctl -C "$plant" "$@"; }
until (($(ctl sensors -t alive -o short | wc -l) == 12)); do
    kill -0 "$simulator_pid" || fail "the simulator has ended: $(cat "$folder/simulator.log")"
done

run 1 >"$folder/1"
(($(wc -l <"$folder/1") > 1)) || fail "recipe 1: $(cat "$folder/1")"
! grep -vE '  analyser0[0-9]  |^ *ID ' "$folder/1" || fail 'recipe 1 shows other sensors'

run 2 >"$folder/2"
grep -qE '^[0-9]+ [^ ]+ [a-z]+ [a-z]+[0-9]+ SelfTest ' "$folder/2" || fail "recipe 2: $(cat "$folder/2")"
(($(wc -l <"$folder/2") == 1)) || fail "recipe 2 goes on: $(cat "$folder/2")"

run 3
day=$(date -d yesterday +%Y-%m-%d)
(($(wc -l <"$plant/bin/yesterday.csv") > 1000)) || fail 'recipe 3 has too few events'
! tail -n +2 "$plant/bin/yesterday.csv" | grep -v ",${day}T" || fail "recipe 3 has other days than $day"

run 4 >"$folder/4"
(($(wc -l <"$folder/4") == 5)) || fail "recipe 4: $(cat "$folder/4")"
sort -rnc "$folder/4" || fail 'recipe 4 is not in order'

run 5
handed=$(wc -l <"$plant/bin/handed-on.json")
until (($(ctl events -n 1 -o json | jq .id) > handed)); do :; done
run 5
jq -s -e 'length > '"$handed"' and (map(.id) == [range(1; length + 1)])' "$plant/bin/handed-on.json" >"$folder/5" ||
    fail 'recipe 5 leaves a gap or hands an event on twice'

run 6 >"$folder/6"
grep -qx 'carried out: running' "$folder/6" || fail "recipe 6: $(cat "$folder/6")"

ctl put converter02 kill --wait=60 >"$folder/kill"
ctl put converter03 kill --wait=60 >"$folder/kill"
run 7 >"$folder/7"
(($(grep -cE '^command [0-9]+ stored$' "$folder/7") == 2)) || fail "recipe 7: $(cat "$folder/7")"
until (($(ctl sensors -t alive -o short | wc -l) == 12)); do :; done

run 8 >"$folder/8" || fail "recipe 8 fails: $(cat "$folder/8")"
[[ $(cat "$folder/8") == '12 of 12 alive []' ]] || fail "recipe 8: $(cat "$folder/8")"

kill "$simulator_pid"
wait "$simulator_pid" || fail "the simulator complains: $(cat "$folder/simulator.log")"
simulator_pid=

# Two old commands before the young ones.
sqlite3 "$plant/Data/installation.db" "UPDATE command SET time = unixepoch('now', '-91 days') WHERE id IN (1, 3)"
commands=$(ctl commands -n all -o short | wc -l)
run 9 >"$folder/9"
[[ $(cat "$folder/9") == $'command 1 deleted\ncommand 3 deleted' ]] || fail "recipe 9: $(cat "$folder/9")"
(($(ctl commands -n all -o short | wc -l) == commands - 2)) || fail 'recipe 9 deleted others'
run 9 >"$folder/9" || fail 'recipe 9 fails where nothing is old'

# Few events: each waits for the disk.
sqlite3 "$plant/Data/installation.db" "DELETE FROM event WHERE id <= (SELECT max(id) - 300 FROM event)"
# Sensors that are silent for long enough are not at work.
run 10 >"$folder/10" || fail "recipe 10 fails: $(cat "$folder/10")"
grep -q '^events: 300 in both, sum ' "$folder/10" || fail "recipe 10: $(cat "$folder/10")"
[[ $(obrimctl -C "$folder/new" events -n all -o csv | cut -d, -f2-) == "$(ctl events -n all -o csv | cut -d, -f2-)" ]] ||
    fail 'recipe 10 did not copy the events'
