# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# A PostgreSQL server of a command's own: in a folder of its own, reached through a socket there
# and nowhere else.

# The folder of the server's files and its socket; empty as long as there is none.
server_folder=

# The newest version's programs, which Debian keeps out of PATH.
server_program() {
    local programs
    mapfile -t programs < <(printf '%s\n' /usr/lib/postgresql/*/bin/"$1" | sort --version-sort)
    [[ -x ${programs[-1]} ]] || die "there is no /usr/lib/postgresql/*/bin/$1: the package postgresql is missing"
    printf '%s' "${programs[-1]}"
}

# The server refuses root: for root it runs as the user of Debian's package. It ends with this script,
# also when that is killed and can stop nothing.
as_server_user() {
    local change=(setpriv --pdeathsig INT)
    ((EUID != 0)) || change+=(--reuid postgres --regid postgres --clear-groups)
    cd / && exec "${change[@]}" "$@"
}

server_answers() { "$(server_program pg_isready)" --quiet --host="$server_folder"; }

# Makes a server with an empty database "plant" and starts it.
start_server() {
    # Short and outside of the build folder: a socket's path has 107 bytes at most, and the server's
    # user may not get into other folders.
    server_folder=$(mktemp -d /tmp/obrim-pg-XXXXXX)
    ((EUID != 0)) || chown postgres: "$server_folder"
    local data=$server_folder/data log=$private_dir/server.log
    (as_server_user "$(server_program initdb)" --pgdata="$data" --auth=trust --username=owner --encoding=UTF8 \
        --no-locale --no-sync) >"$log" 2>&1 || die "initdb failed: $(tail -n 5 "$log")"
    as_server_user "$(server_program postgres)" -D "$data" -c listen_addresses= \
        -c unix_socket_directories="$server_folder" >"$log" 2>&1 &
    server_pid=$!
    until server_answers; do
        kill -0 "$server_pid" 2>/dev/null || die "the PostgreSQL server does not start: $(tail -n 5 "$log")"
        sleep 0.05
    done
    "$(server_program createdb)" --host="$server_folder" --username=owner plant
}

stop_server() {
    [[ -z ${server_pid:-} ]] || { kill -INT "$server_pid" && wait "$server_pid"; } 2>/dev/null || true
    [[ -z $server_folder ]] || rm -rf "$server_folder"
}
