# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# The console in its demo installation, on this display or on a virtual one.

# shellcheck source=scripts/postgresql.sh
source "$scripts/postgresql.sh"

console_program() { printf '%s' "$build_root/$target_name/src/obrim"; }
simulator() { printf '%s' "$build_root/$target_name/tools/sensor-sim/sensor-sim"; }
demo_installation() { printf '%s' "$build_root/$target_name/demo/installation"; }
# On a server of its own the installation is one of its own, too.
installation() {
    if [[ -n $server_folder ]]; then
        printf '%s' "$private_dir/installation"
    else
        demo_installation
    fi
}
catalogues() { printf '%s' "$build_root/$target_name/share/locale"; }
pictures_folder() { printf '%s' "$build_root/$target_name/pictures"; }

# What was started beside the console, and a directory of our own; both end with this command.
children=()
private_dir=

clean_up() {
    local i
    for ((i = ${#children[@]} - 1; i >= 0; i--)); do
        { kill "${children[i]}" && wait "${children[i]}"; } 2>/dev/null || true
    done
    stop_server
    [[ -z $private_dir ]] || rm -rf "$private_dir"
    return 0
}

has_display() { [[ -n ${DISPLAY:-}${WAYLAND_DISPLAY:-} ]]; }

# Without X, Qt talks to a Wayland desktop through a package of its own.
need_run_packages() {
    local lists=(build "$(toolkit_list)" test)
    has_display || lists+=(display)
    [[ -n ${DISPLAY:-} || -z ${WAYLAND_DISPLAY:-} ]] || lists+=("$(toolkit_list)-wayland")
    need_packages "${lists[@]}"
}

prepare_demo() {
    build_preset "$target_name" demo
    trap clean_up EXIT
    trap 'exit 129' HUP
    trap 'exit 130' INT
    trap 'exit 143' TERM
    private_dir=$(mktemp -d)
    # The program's icon and catalogues, as if it were installed.
    export XDG_DATA_DIRS="$build_root/$target_name/share:${XDG_DATA_DIRS:-/usr/local/share:/usr/share}"
}

command_run() {
    local target='' options=() data=sqlite
    while (($#)); do
        case "$1" in
        --test-data) options=("$1") && data=test-data ;;
        --database)
            need_value "$@"
            [[ $2 == sqlite || $2 == postgresql ]] || die "there is no database '$2'; see ./dev --help"
            options=("$1" "$2") && data=$2 && shift
            ;;
        --target) need_value "$@" && target=$2 && shift ;;
        *) die "run does not know '$1'; see ./dev --help" ;;
        esac
        shift
    done
    set_job_count
    choose_target "$target"
    if ! is_native; then
        in_root run "${options[@]}"
        return
    fi
    need_run_packages
    prepare_demo
    choose_data "$data"
    if has_display; then
        run_here
    else
        # shellcheck source=scripts/virtual-display.sh
        source "$scripts/virtual-display.sh"
        run_on_virtual_display
    fi
}

# Without a library the console shows its test data; with one, sensors are at work.
choose_data() {
    case "$1" in
    test-data) rm -f "$(installation)/Libs/DBLib.a" ;;
    sqlite)
        fill_history
        start_simulator
        ;;
    postgresql)
        start_installation_on_server
        start_simulator
        ;;
    esac
}

start_installation_on_server() {
    say "starting a PostgreSQL server"
    start_server
    cp -r "$(demo_installation)" "$private_dir/installation"
    cp "$build_root/$target_name/dblib/postgresql/DBLib.a" "$(installation)/Libs/DBLib.a"
    printf 'Connection=host=%s dbname=plant user=owner\n' "$server_folder" >"$(installation)/Config/DBLib.def"
    say "writing the demo's history"
    "$(simulator)" --config "$(installation)/Config" --seed 1 --fill 100000 ||
        die "the demo's history cannot be written"
}

# A history that was cut short is begun again; a whole one is kept, and grows from run to run.
fill_history() {
    local data writer
    data="$(installation)/Data"
    [[ ! -e $data/filled ]] || return 0
    # Another run may be writing it just now.
    exec {writer}>"$(installation).history.lock"
    flock "$writer"
    if [[ ! -e $data/filled ]]; then
        rm -rf "$data"
        say "writing the demo's history"
        "$(simulator)" --config "$(installation)/Config" --seed 1 --fill 100000 ||
            die "the demo's history cannot be written to $data"
        touch "$data/filled"
    fi
    exec {writer}>&-
}

# Sensors that are played twice would report twice and obey twice: while another run plays them,
# this run's simulator waits, and takes over when that run ends.
start_simulator() {
    local lock
    lock="$(installation).sensors.lock"
    flock --nonblock "$lock" true || say "another run plays the demo's sensors; this one takes over when it ends"
    beside flock --no-fork "$lock" "$(simulator)" --config "$(installation)/Config" --sensors 30 --rate 20 \
        >"$private_dir/simulator.log" 2>&1
    simulator_pid=${children[-1]}
}

# Waited for in the background, as a signal to this script would otherwise wait for the console's end.
run_here() {
    local status=0
    say "starting the console in $(installation)"
    cd "$(installation)/bin"
    beside "$(console_program)"
    wait "${children[-1]}" || status=$?
    return "$status"
}

# The pictures of the manual, of today's windows, and the same in each other language.
command_pictures() {
    (($# == 0)) || die "pictures does not know '$1'; see ./dev --help"
    set_job_count
    choose_target ''
    need_packages build "$(toolkit_list)" test display
    prepare_demo
    choose_data sqlite
    # shellcheck source=scripts/virtual-display.sh
    source "$scripts/virtual-display.sh"
    start_virtual_desktop
    take_pictures "$repository/docs/manual"
    local catalogue
    for catalogue in "$repository"/po/*/obrim.po; do
        LANGUAGE=$(basename -- "${catalogue%/obrim.po}")
        export LANGUAGE
        take_pictures "$repository/docs/pictures/$LANGUAGE"
    done
}
