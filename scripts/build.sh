# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# Configuring and building on this machine.

# A build folder remembers the place of its sources; one that was moved is started afresh.
drop_moved_cache() {
    local cache="$build_root/$1/CMakeCache.txt"
    [[ -f $cache ]] || return 0
    grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$repository" "$cache" && return 0
    say "build/$1 belongs to other sources: configuring it afresh"
    rm -rf "$cache" "$build_root/$1/CMakeFiles"
}

# What the suite runs, and what the analysis of all sources reads.
readonly everything=(all tests/all)

# build_preset PRESET [NINJA-TARGET...]: configure and build build/PRESET.
build_preset() {
    local preset=$1 target
    local targets=()
    shift
    for target in "$@"; do
        targets+=(--target "$target")
    done
    drop_moved_cache "$preset"
    # CMake answers there which target compiles what; the check of the layers reads it.
    mkdir -p "$build_root/$preset/.cmake/api/v1/query"
    touch "$build_root/$preset/.cmake/api/v1/query/codemodel-v2"
    (cd "$repository" && cmake --preset "$preset" --log-level=WARNING) ||
        die "build/$preset cannot be configured: see above"
    # All that does not compile is told in one run.
    cmake --build "$build_root/$preset" "${targets[@]}" -- -k 0 || die "build/$preset does not build: see above"
}

command_build() {
    local target=
    while (($#)); do
        case "$1" in
        --target) need_value "$@" && target=$2 && shift ;;
        *) die "build does not know '$1'; see ./dev --help" ;;
        esac
        shift
    done
    set_job_count
    choose_target "$target"
    if is_native; then
        need_packages build "$(toolkit_list)" test
        build_preset "$target_name"
    else
        in_root build
    fi
    say "built: build/$target_name"
}
