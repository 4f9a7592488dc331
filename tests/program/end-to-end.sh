#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# end-to-end.sh PROGRAM LIBRARY REPOSITORY FOLDER: the real program in a demo installation in
# FOLDER, on a virtual display with a window manager, worked with keys and mouse alone. The
# library writes its calls to a file: they are what the orders of the operator come to.
set -euo pipefail

program=$1
library=$2
repository=$3
folder=$4
scripts="$repository/scripts"
# shellcheck source=scripts/common.sh
source "$scripts/common.sh"
# shellcheck source=scripts/virtual-display.sh
source "$scripts/virtual-display.sh"

console_program() { printf '%s' "$program"; }
installation() { printf '%s' "$folder/demo installation"; }
pictures="$folder/pictures"
private_dir=$(mktemp -d)
children=()

stop_children() {
    local i
    for ((i = ${#children[@]} - 1; i >= 0; i--)); do
        { kill "${children[i]}" && wait "${children[i]}"; } 2>/dev/null || true
    done
    rm -rf "$private_dir"
}
trap stop_children EXIT

need_tools() {
    local tool
    for tool in Xvfb openbox xdotool xprop import identify; do
        have "$tool" || die "$tool is missing: ./dev test installs what the tests need"
    done
}

lay_out_installation() {
    rm -rf "$folder"
    mkdir -p "$pictures"
    cmake -D "from=$repository/demo" -D "base=$(installation)" -P "$repository/demo/lay-out.cmake"
    : >"$(installation)/Pics/Red.bmp"
    cp "$library" "$(installation)/Libs/DBLib.a"
    export OBRIM_CALL_LOG="$pictures/calls.log"
    : >"$OBRIM_CALL_LOG"
}

# wait_for WHAT COMMAND...: until the command succeeds.
wait_for() {
    local what=$1 deadline=$((SECONDS + time_limit))
    shift
    until "$@"; do
        kill -0 "$console" 2>/dev/null || die "$what: the console has ended. $(cat "$pictures/console.err")"
        ((SECONDS < deadline)) || die "$what: waited $time_limit seconds in vain"
    done
}

called() { grep -q -- "^$1\$" "$OBRIM_CALL_LOG"; }
traced() { (($(grep -c -- "^$1\$" "$pictures/console.log") >= $2)); }
visible() { find_windows --name "^$1\$" && [[ -n $found ]]; }
hidden() { find_windows --name "^$1\$" && [[ -z $found ]]; }

# The menus of the console: windows that no window manager touches.
menu_window() {
    local id
    find_windows --class obrim
    for id in $found; do
        if xprop -id "$id" _NET_WM_WINDOW_TYPE 2>/dev/null | grep -q POPUP_MENU; then
            menu=$id
            return 0
        fi
    done
    return 1
}
no_menu() { ! menu_window; }
gone() { ! xprop -id "$1" _NET_WM_NAME >/dev/null 2>&1; }

# open_menu_on_first_row WINDOW: a right click below the list's heading.
open_menu_on_first_row() {
    activate "$1" mousemove --window "$1" 60 70 click 3
    wait_for 'context menu by the mouse' menu_window
}

choose_by_keys() {
    local i
    for ((i = 0; i < $1; ++i)); do
        xdotool key Down
    done
    xdotool key Return
    wait_for 'the menu closes' no_menu
}

# The entry at the bottom of the open menu.
choose_last_by_mouse() {
    local HEIGHT
    eval "$(xdotool getwindowgeometry --shell "$menu")"
    xdotool mousemove --window "$menu" 30 "$((HEIGHT - 14))" click 1
    wait_for 'the menu closes' no_menu
}

open_by_accelerator() {
    press "$panel" "$1"
    window_of "$2"
    activate "$window"
    save_picture "$window" "$3"
}

open_the_lists() {
    window_of Tool
    panel=$window
    activate "$panel"
    save_picture "$panel" panel
    open_by_accelerator alt+s 'Sensors List' sensors
    sensors=$window
    open_by_accelerator alt+e 'Events list' events
    events=$window
    open_by_accelerator alt+c 'Commands list' commands
    commands=$window
    wait_for 'trace of the panel' traced 'void obrimWidget::onSensorsList()' 1
}

send_orders_by_mouse() {
    open_menu_on_first_row "$sensors"
    import -window root "$pictures/menu.png"
    choose_by_keys 3
    wait_for 'the order Start goes out' called 'FDBPutCommand type=1 sensor=sensor1 command=1'
    open_menu_on_first_row "$sensors"
    choose_last_by_mouse
    wait_for 'the order Kill goes out' called 'FDBPutCommand type=1 sensor=sensor1 command=4'
}

# The pointer goes away first: nothing but keys may be needed.
open_events_of_a_sensor_by_keys() {
    park_pointer
    activate "$sensors" key Down
    xdotool key Menu
    wait_for 'context menu by the keyboard' menu_window
    choose_by_keys 1
    window_of 'Events list for .+'
    activate "$window"
    save_picture "$window" events-of-a-sensor
    xdotool key Escape
    wait_for 'Escape closes a list' hidden 'Events list for .+'
}

# looks_different WINDOW NAME BEFORE: than in the picture of that name and signature.
looks_different() {
    save_picture "$1" "$2"
    [[ $(identify -format '%#' "$pictures/$2.png") != "$3" ]]
}

hide_and_show_a_column_by_keys() {
    local before
    activate "$sensors"
    save_picture "$sensors" columns
    before=$(identify -format '%#' "$pictures/columns.png")
    activate "$sensors" key alt+c
    wait_for 'the menu Columns' menu_window
    choose_by_keys 2
    wait_for 'hiding a column changes the list' looks_different "$sensors" columns "$before"
}

update_by_keys() {
    local loads
    loads=$(grep -c '^DBGetEvents<$' "$pictures/console.log")
    activate "$events" key alt+t
    wait_for 'Update list loads the events' traced 'DBGetEvents<' $((loads + 1))
}

# "Get new commands" has no accelerator: what alt+i asks for is all that is asked for.
only_given_accelerators_work() {
    local loads
    loads=$(grep -c '^DBGetCommands<$' "$pictures/console.log")
    activate "$commands" key alt+g key alt+i
    wait_for 'Update list loads the commands' traced 'DBGetCommands<' $((loads + 1))
    save_picture "$commands" commands
    traced 'DBGetCommands<' $((loads + 2)) && die 'an accelerator that is not there loads commands'
    return 0
}

# title_of WINDOW: what the window manager is told, with its quotes.
title_of() { xprop -id "$1" _NET_WM_NAME 2>/dev/null | sed -n 's/^[^=]*= //p'; }

# box_is_active OTHER TITLE: set `window` to the window with the focus, if it is not OTHER and has that
# title, in its quotes (an empty one has none).
box_is_active() {
    window=$(xdotool getactivewindow 2>/dev/null) && [[ $window != "$1" && $(title_of "$window") == "$2" ]]
}

box_without_a_caption() {
    press "$panel" alt+t
    wait_for 'a box without a title' box_is_active "$panel" ''
    press "$window" Return
    wait_for 'the box goes away' gone "$window"
}

no_base_directory_in_a_restored_session() {
    local status=0
    mv "$(installation)/Pics/Red.bmp" "$(installation)/Red.bmp"
    start_console -session ID_KEY
    wait_for 'the box that ends the console' box_is_active '' "\"Can't find base dir\""
    press "$window" Return
    timeout "$time_limit" tail --pid="$console" -f /dev/null || die 'the console does not end without a base directory'
    wait "$console" || status=$?
    ((status == 255)) || die "without a base directory the status is $status"
    mv "$(installation)/Red.bmp" "$(installation)/Pics/Red.bmp"
}

stay_after_no() {
    press "$panel" alt+x
    window_of '[?]{3}'
    press "$window" Escape
    wait_for 'the question goes away' hidden '[?]{3}'
    if hidden Tool || hidden 'Events list'; then
        die 'No closes windows'
    fi
}

close_without_a_question() {
    local status=0
    open_by_accelerator alt+s 'Sensors List' sensors
    press "$panel" alt+F4
    timeout "$time_limit" tail --pid="$console" -f /dev/null || die 'closing the panel does not end the console'
    wait "$console" || status=$?
    ((status == 0)) || die "after closing the panel the status is $status"
}

# check_errors N: nothing but the line of each of N events windows.
check_errors() {
    local expected
    expected=$(for ((i = 0; i < $1; ++i)); do echo 'CWD_EventsList::onSetTimeFrom:i=2'; done)
    [[ $(<"$pictures/console.err") == "$expected" ]] ||
        die "standard error holds more than it should: $(<"$pictures/console.err")"
}

# libxkbcommon hands strndup a text without its end, and is right to.
export ASAN_OPTIONS="${ASAN_OPTIONS:-}:strict_string_checks=0"

need_tools
lay_out_installation
use_private_settings
start_display
start_window_manager
park_pointer

say 'panel, lists, menus and Exit'
start_console
open_the_lists
send_orders_by_mouse
open_events_of_a_sensor_by_keys
hide_and_show_a_column_by_keys
update_by_keys
only_given_accelerators_work
box_without_a_caption
stay_after_no
leave_console
check_errors 2

say 'closing the panel with a list open'
start_console
window_of Tool
panel=$window
close_without_a_question
check_errors 0

say 'no base directory'
no_base_directory_in_a_restored_session
check_errors 0
