#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# run-test.sh SIMULATOR REPOSITORY FOLDER: what `./dev run` leaves running when it ends, however it
# ends. The simulator is the real one; a program that only sleeps stands in for the console.
#
# Called with a fourth argument, it is itself such a run: `run NAME [run's own options]`.
set -euo pipefail

simulator=$1
repository=$2
folder=$3
readonly scripts="$repository/scripts"
# shellcheck source=scripts/common.sh
source "$scripts/common.sh"
readonly time_limit=240

demo_run() {
    local name=$1
    shift
    # shellcheck source=scripts/run.sh
    source "$scripts/run.sh"
    choose_target() { target_name=$native; }
    is_native() { true; }
    need_run_packages() { true; }
    build_preset() { true; }
    has_display() { true; }
    simulator() { printf '%s' "$simulator"; }
    installation() { printf '%s' "$folder/an installation"; }
    console_program() { printf '%s' "$folder/console"; }
    export CONSOLE_PID_FILE="$folder/$name.console"
    command_run "$@"
}
native=here
if [[ ${4:-} == run ]]; then
    demo_run "${@:5}"
    exit
fi

runs=()
stop_runs() {
    local run
    for run in "${runs[@]}"; do
        kill "$run" 2>/dev/null || true
    done
}
trap stop_runs EXIT

wait_for() {
    local what=$1 deadline=$((SECONDS + time_limit))
    shift
    until "$@"; do
        ((SECONDS < deadline)) || die "waited $time_limit seconds in vain: $what; $(cat "$folder"/*.log)"
        read -r -t 0.05 <>"$folder/never" || true
    done
}

# processes_of START: those whose command line begins so. Some play the sensors, some wait for their turn.
processes_of() {
    local file words
    for file in /proc/[0-9]*/cmdline; do
        { mapfile -d '' -t words <"$file"; } 2>/dev/null || continue
        [[ "${words[*]}" != "$1"* ]] || printf '%s\n' "${file//[!0-9]/}"
    done
}
playing() { processes_of "$simulator --config $folder/"; }
waiting() { processes_of "flock --no-fork $folder/"; }
console_of() { cat "$folder/$1.console"; }
gone() { ! kill -0 "$1" 2>/dev/null; }
nothing_left() { [[ -z $(playing) && -z $(waiting) ]]; }
play_count_is() { (($(playing | wc -l) == $1)); }
wait_count_is() { (($(waiting | wc -l) == $1)); }

# start NAME [OPTION...]: a run in the background; `run` is its process. A shell's background
# process ignores Ctrl-C unless it is told otherwise.
start() {
    rm -f "$folder/$1.console"
    env --default-signal=INT "${BASH_SOURCE[0]}" "$simulator" "$repository" "$folder" run "$@" >"$folder/$1.log" 2>&1 &
    run=$!
    runs+=("$run")
    wait_for "the console of run $1" test -s "$folder/$1.console"
}

# ends_with STATUS NAME: the run ends so and leaves nothing.
ends_with() {
    local status=0
    wait "$run" || status=$?
    ((status == $1)) || die "$2: the run ended with $status, not $1; $(cat "$folder"/*.log)"
    wait_for "$2: the console ends" gone "$console"
    wait_for "$2: the simulator ends" nothing_left
}

one_run() {
    start one
    console=$(console_of one)
    wait_for 'the simulator' play_count_is 1
}

rm -rf "$folder"
mkdir -p "$folder/an installation/bin" "$folder/an installation/Config" "$folder/an installation/Libs"
mkfifo "$folder/never"
cat >"$folder/console" <<'CONSOLE'
#!/bin/sh
echo $$ >"$CONSOLE_PID_FILE.new"
mv "$CONSOLE_PID_FILE.new" "$CONSOLE_PID_FILE"
exec sleep 1000
CONSOLE
chmod +x "$folder/console"

one_run
[[ -e "$folder/an installation/Data/filled" ]] || die 'no history was written'
kill -TERM "$console"
ends_with 143 'the console ends'
grep -q 'history' "$folder/one.log" || die 'the history is not told of'

one_run
! grep -q 'history' "$folder/one.log" || die 'the history was written again'
kill -KILL "$console"
ends_with 137 'the console is killed'

one_run
kill -INT "$run"
ends_with 130 'Ctrl-C'

one_run
kill -TERM "$run"
ends_with 143 'the run is ended'

one_run
kill -KILL "$run"
ends_with 137 'the run is killed'

# A second run beside the first: the sensors are played once, also when the first one has ended.
one_run
first=$run
first_console=$console
first_simulator=$(playing)
start two
wait_for 'the second simulator waits' wait_count_is 1
play_count_is 1 || die 'the sensors are played twice'
grep -q 'another run plays' "$folder/two.log" || die 'the second run does not tell of the first'
kill -TERM "$first_console"
wait "$first" || true
wait_for 'the first simulator ends' gone "$first_simulator"
wait_for 'the second simulator takes over' play_count_is 1
console=$(console_of two)
kill -TERM "$console"
ends_with 143 'the second console ends'

# Without a library there is no simulator.
touch "$folder/an installation/Libs/DBLib.a"
start three --test-data
[[ ! -e "$folder/an installation/Libs/DBLib.a" ]] || die 'the library is still there'
nothing_left || die 'a simulator runs beside the test data'
console=$(console_of three)
kill -TERM "$console"
ends_with 143 'the console on test data ends'
