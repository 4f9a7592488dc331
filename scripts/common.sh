# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# What every command uses. `repository` and `scripts` are set by ./dev.

# shellcheck disable=SC2034 # some readers take only a part
readonly build_root="$repository/build"

# Files are named from the repository on: inside a root it has another place.
say() { printf 'dev: %s\n' "${*//"$repository/"/}"; }

die() {
    printf 'dev: %s\n' "${*//"$repository/"/}" >&2
    exit 1
}

# need_value "$@": an option must have a value behind it.
need_value() { [[ -n ${2:-} ]] || die "$1 needs a value; see ./dev --help"; }

# Set the number of jobs where nobody has: the variables are CMake's and CTest's own.
set_job_count() {
    local jobs
    jobs=$(nproc)
    export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$jobs}
    # Tests wait for processes and timers, half of their time.
    export CTEST_PARALLEL_LEVEL=${CTEST_PARALLEL_LEVEL:-$((2 * jobs))}
}

have() { command -v "$1" >/dev/null 2>&1; }

# beside PROGRAM [ARGUMENT...]: start it beside this script and note it in `children`. It ends
# with this script, also when that is killed and can clean up nothing.
beside() {
    setpriv --pdeathsig TERM "$@" &
    children+=($!)
}
