#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# page-test.sh PAGE LIBRARY SIMULATOR CHECKER FOLDER: runs the commands of the operator's page as they
# stand there, on an installation whose sensors are at work, and looks at what they did.
set -euo pipefail

page=$1
library=$2
simulator=$3
checker=$4
folder=$5
PATH="$(dirname "$simulator"):$(dirname "$checker"):$PATH"

fail() {
    printf 'page-test: %s\n' "$*" >&2
    exit 1
}

# block TEXT: the one block of the page that contains it, without the shell's prompts.
block() {
    local found
    found=$(TEXT=$1 awk -v RS= -v FS='\n' '
        {
            shown = ""
            for (i = 1; i <= NF; ++i) {
                if (sub(/^    (\$ )?/, "", $i)) shown = shown $i "\n"
            }
            if (index(shown, ENVIRON["TEXT"])) { printf "%s", shown; ++count }
        }
        END { exit count != 1 }' "$page") || fail "the page has not one block with: $1"
    printf '%s' "$found"
}

# run TEXT [SED-SCRIPT]: run that block in the installation.
run() {
    local commands
    commands=$(block "$1" | sed -e "${2:-}")
    (cd "$folder" && bash -euo pipefail -c "$commands") || fail "fails: $commands"
}

database="$folder/Data/installation.db"
number() { sqlite3 -readonly "${2:-$database}" "$1"; }

simulator_pid=
stop_simulator() {
    [[ -n $simulator_pid ]] || return 0
    kill -TERM "$simulator_pid"
    wait "$simulator_pid" || fail "the simulator complains: $(cat "$folder/simulator.log")"
    simulator_pid=
}
trap '[[ -z $simulator_pid ]] || kill "$simulator_pid"' EXIT

rm -rf "$folder"
mkdir -p "$folder"
run 'ln -s' "s|/srv/plant|\"$folder\"|; s|/usr/local/lib/obrim/sqlite.so|\"$library\"|"
[[ -f $folder/Libs/DBLib.a && -f $folder/Pics/Red.bmp && -d $folder/bin && -d $folder/Config ]] ||
    fail 'no installation was set up'

# A year of history, then sensors at work until all that may be done beside them is done.
(cd "$folder" && sensor-sim --config Config --rate 0.001 --fill 30000) || fail 'no history'
(cd "$folder" && exec sensor-sim --config Config --rate 50) >"$folder/simulator.log" 2>&1 &
simulator_pid=$!
until (($(number "SELECT count(*) FROM sensor WHERE keep_alive IS NOT NULL") > 0)); do
    kill -0 "$simulator_pid" || fail "the simulator has ended: $(cat "$folder/simulator.log")"
done

run '.backup'
run 'integrity_check' | grep -qx ok || fail 'the backup is not sound'
(($(number 'SELECT count(*) FROM event' "$folder/backup.db") >= 30000)) || fail 'the backup is not whole'
rm "$folder/backup.db"
run 'VACUUM INTO'
run 'integrity_check' | grep -qx ok || fail 'the small backup is not sound'
(($(number 'SELECT count(*) FROM event' "$folder/backup.db") >= 30000)) || fail 'the small backup is not whole'

# Old commands beside old events.
sqlite3 -cmd '.timeout 5000' "$database" "INSERT INTO command_series VALUES(1, 1, 4, 'nobody');
    INSERT INTO command(series, time) VALUES(1, unixepoch('now', '-91 days')), (1, unixepoch('now', '-89 days'))"
# What is old at this moment. History has an event each 1000 seconds, one of them 90 days old as it is written,
# so another one may become old while the commands run.
is_old="time < $(number "SELECT unixepoch('now', '-90 days')")"
is_young="id <= 30000 AND time >= $(number "SELECT unixepoch('now', '-89 days')")"
young=$(number "SELECT count(*) FROM event WHERE $is_young")
zones=$(number 'SELECT count(*) FROM event_zone')
run 'DELETE FROM event WHERE'
run 'DELETE FROM event WHERE' 's/\bevent\b/command/g'
(($(number "SELECT count(*) FROM event WHERE $is_old") == 0)) || fail 'old events are left'
(($(number "SELECT count(*) FROM event WHERE $is_young") == young)) || fail 'young events are gone'
(($(number 'SELECT count(*) FROM command') == 1)) || fail 'not the old command was deleted'
run 'DELETE FROM event_zone'
(($(number 'SELECT count(*) FROM event_zone') < zones)) || fail 'no zone was dropped'

run 'SELECT * FROM events ORDER BY' >"$folder/shown"
grep -q 'analyser01' "$folder/shown" || fail "the views show no sensors: $(cat "$folder/shown")"
grep -q ',nobody,Kill,' "$folder/commands.csv" || fail "commands.csv has no command: $(cat "$folder/commands.csv")"
(($(sqlite3 -readonly "$database" "$(block json_extract)" | wc -l) == 10)) || fail 'no levels are shown'
[[ $(sqlite3 -readonly "$database" "$(block json_each | sed "s/4711/30000/")" | wc -l) -eq 3 ]] ||
    fail 'no parameters are shown'
[[ $(run 'iconv' | wc -l) -eq 10 ]] || fail 'no events are shown in UTF-8'
month="SELECT strftime('%Y-%m-%d', max(time) - 30 * 86400, 'unixepoch', 'localtime') FROM event"
day=$(number "$month")
next=$(number "SELECT date('$day', '+1 day')")
range=$(sqlite3 -readonly -separator ' AND ' "$database" \
    "$(block 'SELECT min(block)' | sed "s/2026-03-01/$day/; s/2026-03-02/$next/")")
(($(number "SELECT count(*) FROM events WHERE time LIKE '$day%' AND id NOT BETWEEN $range") == 0)) ||
    fail "events of $day lie outside of $range"

# Deleting by hand leaves the library's answers right, beside sensors at work.
dblib-check --timeout 200 --only event-time --only event-identifier --only event-combined "$folder/Libs/DBLib.a" >"$folder/checked" ||
    fail "the library answers wrongly: $(cat "$folder/checked")"

kill -0 "$simulator_pid" || fail "the simulator has ended: $(cat "$folder/simulator.log")"
stop_simulator

# Deleting by hand leaves the library's answers right.
dblib-check --timeout 200 --only event-time --only event-identifier --only event-combined "$folder/Libs/DBLib.a" >"$folder/checked" ||
    fail "the library answers wrongly: $(cat "$folder/checked")"
(($(grep -c '^pass' "$folder/checked") == 3)) || fail "the library was not checked: $(cat "$folder/checked")"

size=$(stat -c %s "$database")
run 'installation.db VACUUM'
(($(stat -c %s "$database") < size)) || fail 'the file did not shrink'

# Some pages in the middle of the file are lost.
events=$(number 'SELECT count(*) FROM event')
dd if=/dev/zero of="$database" bs=4096 seek="$(($(stat -c %s "$database") / 4096 / 4))" count=3 conv=notrunc 2>"$folder/dd" ||
    fail "$(cat "$folder/dd")"
run '.dump' 2>"$folder/corruption"
saved=$(number 'SELECT count(*) FROM event' "$folder/saved.db")
((saved > events / 2 && saved < events)) || fail "of $events events $saved were saved"
rm "$database"
mv "$folder/saved.db" "$database"
(cd "$folder" && sensor-sim --config Config --fill 10) || fail 'the library does not take what was saved'
(($(number 'SELECT count(*) FROM event') == saved + 10)) || fail 'what was saved cannot be written to'

# The backup in its place again.
rm -f "$database" "$database-wal" "$database-shm"
cp "$folder/backup.db" "$database"
run '--fill 100000' '/--rate/d'
(($(number 'SELECT count(*) FROM event') >= 130000)) || fail 'the restored database does not grow'
