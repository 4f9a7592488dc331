# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# The console on a display that nobody sees: windows are opened by keys, and pictures show them.
# What is waited for is waited for itself; a time limit only ends what never comes.

readonly time_limit=240

# Settings and sockets of our own: neither the user's desktop nor other runs are touched.
use_private_settings() {
    mkdir -m 700 "$private_dir/runtime"
    export XDG_RUNTIME_DIR="$private_dir/runtime" XDG_CONFIG_HOME="$private_dir/config"
    export XDG_CACHE_HOME="$private_dir/cache" QT_QPA_PLATFORM=xcb LC_ALL=C.UTF-8
    # Windows are found by their English titles, and buttons by the letters of those.
    unset LANGUAGE
    # Nothing here draws with OpenGL, and its driver takes time to load.
    export QT_XCB_GL_INTEGRATION=none
}

start_display() {
    local number numbers log="$private_dir/xvfb.log"
    mkfifo "$private_dir/number"
    # Open at both ends: opening waits for nobody then.
    exec {numbers}<>"$private_dir/number"
    beside Xvfb -displayfd 3 -screen 0 1600x1000x24 -nolisten tcp -noreset 3>&"$numbers" >"$log" 2>&1
    read -r -t "$time_limit" -u "$numbers" number ||
        die "the virtual display does not start: $(tail -n 3 "$log")"
    exec {numbers}>&-
    export DISPLAY=":$number"
}

# Without a window manager no window has the focus, and accelerators reach nobody.
start_window_manager() {
    beside openbox --sm-disable >"$private_dir/openbox.log" 2>&1
    local deadline=$((SECONDS + time_limit))
    # xdotool gives no focus before the window manager has said that it can.
    until xprop -root _NET_SUPPORTED 2>/dev/null | grep -q _NET_ACTIVE_WINDOW; do
        { ((SECONDS < deadline)) && kill -0 "${children[-1]}" 2>/dev/null; } ||
            die "the window manager does not start: $(tail -n 3 "$private_dir/openbox.log")"
    done
}

# A box that closes under the pointer makes the toolkit look for what lies there, and complain
# when the window manager has just taken the box's frame away.
park_pointer() { xdotool mousemove 1599 999; }

# start_console [ARGUMENT...]. Those who give arguments source this file.
# shellcheck disable=SC2120
start_console() {
    cd "$(installation)/bin"
    beside "$(console_program)" "$@" >"$pictures/console.log" 2>"$pictures/console.err"
    console=${children[-1]}
}

# find_windows OPTION...: set `found` to the visible windows that xdotool finds, if any. When a
# window goes away while it looks through all of them, it gives up with an error and is asked again.
find_windows() {
    local deadline=$((SECONDS + time_limit)) log="$private_dir/search.log"
    until found=$(xdotool search --onlyvisible "$@" 2>"$log") || [[ ! -s $log ]]; do
        ((SECONDS < deadline)) || die "windows cannot be looked for: $(tail -n 1 "$log")"
    done
}

# window_of TITLE: set `window` once such a window is to be seen.
window_of() {
    local deadline=$((SECONDS + time_limit))
    until find_windows --name "^$1\$" && [[ -n $found ]]; do
        { ((SECONDS < deadline)) && kill -0 "$console" 2>/dev/null; } ||
            die "the console did not show '$1'. What it wrote:
$(tail -n 5 "$pictures/console.log" "$pictures/console.err")"
    done
    window=$(tail -n 1 <<<"$found")
}

# activate WINDOW [XDOTOOL-COMMAND...]: give it the focus, and go on from there.
activate() {
    timeout "$time_limit" xdotool windowactivate --sync "$@" 2>"$private_dir/xdotool.log" ||
        die "the window manager does not give the focus to a window: $(tail -n 1 "$private_dir/xdotool.log")"
}

press() { activate "$1" key --clearmodifiers "$2"; }

# A window is painted once two pictures in a row are alike and show more than a few colours. There
# is none of a window that changes its size just then.
save_picture() {
    local picture="$pictures/$2.png" log="$private_dir/import.log"
    local before='' now='' deadline=$((SECONDS + time_limit))
    until [[ -n $now && $now == "$before" ]]; do
        ((SECONDS < deadline)) || die "the window '$2' is never painted. $(tail -n 1 "$log")"
        before=$now
        now=
        import -frame -window "$1" "$picture" 2>"$log" || continue
        now=$(identify -format '%k %#' "$picture")
        ((${now%% *} > 8)) || now=
    done
    say "picture: $picture"
}

picture_of_list() {
    press "$panel" "$1"
    window_of "$2"
    activate "$window"
    save_picture "$window" "$3"
}

# The menu key on a row after the other of the sensors list: Start, Stop, Restart and Kill stand
# third to sixth in its menu. Each leaves two lines in the console's trace.
command_sensors() {
    local entry sent=0 deadline=$((SECONDS + time_limit))
    for entry in 5 5 4 6 3 5; do
        local keys=(Down Menu)
        while ((entry-- > 0)); do
            keys+=(Down)
        done
        activate "$1" key --clearmodifiers "${keys[@]}" Return
        sent=$((sent + 1))
        until (($(grep -c '^DBPutCommand' "$pictures/console.log") >= 2 * sent)); do
            ((SECONDS < deadline)) || die "the sensors list sends no command; see $pictures/console.log"
        done
    done
}

leave_console() {
    local status=0
    press "$panel" alt+x
    window_of '[?]{3}'
    press "$window" alt+y
    timeout "$time_limit" tail --pid="$console" -f /dev/null || die "the console does not end when it is left"
    wait "$console" || status=$?
    ((status == 0)) || die "the console ended with status $status; see $pictures/console.err"
    [[ -z ${simulator_pid:-} ]] || kill -0 "$simulator_pid" 2>/dev/null ||
        die "the simulator ended before the console: $(tail -n 3 "$private_dir/simulator.log")"
}

# Runs that make their pictures in the same folder take turns.
take_turn() {
    exec {turn}>"$pictures.lock"
    flock --nonblock "$turn" || {
        say "another run is making its pictures: waiting for its end"
        flock "$turn"
    }
}

# show_panel [ARGUMENT...]: start the console and set `panel` to its first window.
show_panel() {
    # shellcheck disable=SC2119
    start_console
    window_of "$(translated Tool)"
    panel=$window
    activate "$panel"
    save_picture "$panel" panel
}

# translated TEXT: as the console has it in $LANGUAGE.
translated() {
    [[ -n ${LANGUAGE:-} ]] || { printf '%s' "$1" && return; }
    python3 -c 'import gettext, sys
print(gettext.translation("obrim", sys.argv[1]).gettext(sys.argv[2]))' "$(catalogues)" "$1"
}

start_virtual_desktop() {
    use_private_settings
    start_display
    start_window_manager
    park_pointer
}

run_on_virtual_display() {
    pictures=$(pictures_folder)
    mkdir -p "$pictures"
    take_turn
    start_virtual_desktop
    say "no display here: starting the console on the virtual display $DISPLAY"
    show_panel
    picture_of_list alt+s 'sensors list' sensors
    [[ -z ${simulator_pid:-} ]] || command_sensors "$window"
    picture_of_list alt+e 'events list' events
    picture_of_list alt+c 'commands list' commands
    leave_console
    say "pictures of the console: $pictures"
}

# picture_by_button PRESSES TITLE NAME: the list that a button of the panel opens. The letters that press it are
# others in each language, and not on each keyboard.
picture_by_button() {
    local presses=() i
    for ((i = 0; i < $1; i++)); do
        presses+=(Tab)
    done
    activate "$panel" key --clearmodifiers "${presses[@]}" space
    window_of "$(translated "$2")"
    activate "$window"
    save_picture "$window" "$3"
}

# take_pictures FOLDER: the panel and the lists in $LANGUAGE.
take_pictures() {
    pictures="$private_dir/pictures"
    mkdir -p "$pictures"
    show_panel
    picture_by_button 0 'Sensors List' sensors
    command_sensors "$window"
    picture_by_button 2 'Events list' events
    picture_by_button 1 'Commands list' commands
    press "$panel" alt+F4
    timeout "$time_limit" tail --pid="$console" -f /dev/null || die "the console does not end with its panel"
    mkdir -p "$1"
    mv "$pictures"/*.png "$1"
}
