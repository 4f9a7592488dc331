# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# Building and running the suite.

# run_ctest PRESET [CTEST-ARGUMENT...]
run_ctest() {
    local preset=$1
    shift
    ctest --test-dir "$build_root/$preset" --output-on-failure --no-tests=error "$@"
}

set_sanitizer_options() {
    export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:detect_stack_use_after_return=1:strict_string_checks=1}
    export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
    export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=\"$scripts/leaks-elsewhere.txt\":print_suppressions=0}
}

test_natively() {
    local preset=$1
    shift
    need_packages build "$(toolkit_list)" test display
    build_preset "$preset" "${everything[@]}"
    run_ctest "$preset" "$@"
}

command_test() {
    local target='' sanitize=
    while (($#)); do
        case "$1" in
        --sanitize) sanitize=yes ;;
        --target) need_value "$@" && target=$2 && shift ;;
        --) shift && break ;;
        *) die "test does not know '$1'; see ./dev --help (ctest's own arguments follow --)" ;;
        esac
        shift
    done
    set_job_count
    choose_target "$target"
    if ! is_native; then
        [[ -z $sanitize ]] || die "--sanitize is for the target that this machine is ($(native_target))"
        in_root test -- "$@"
    elif [[ -n $sanitize ]]; then
        set_sanitizer_options
        test_natively sanitize "$@"
    else
        test_natively "$target_name" "$@"
    fi
}
