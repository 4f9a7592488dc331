# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# Benchmarks, fuzzing, coverage.

# programs_in FOLDER SUFFIX: the programs there whose names end so.
programs_in() { find "$1" -maxdepth 1 -type f -executable -name "*$2" | sort; }

# The machine and its load decide what the figures mean, so they stand beside them.
describe_machine() {
    date -u +'%F %T UTC'
    git -C "$repository" -c "safe.directory=$repository" describe --always --dirty
    uname -srm
    grep -m1 'model name' /proc/cpuinfo
    printf 'processors: %s, load: %s\n' "$(nproc)" "$(cut -d' ' -f1-3 /proc/loadavg)"
}

# bench_one PROGRAM [BENCHMARK-ARGUMENT...]: what it writes stays beside the machine and its load at that time.
bench_one() {
    local program=$1 results="$build_root/bench/results" name=${1##*/}
    local arguments=()
    shift
    # The others compare by themselves and take no arguments.
    [[ $name != storebench ]] ||
        arguments=(--benchmark_out="$results/$name.json" --benchmark_out_format=json "$@")
    {
        describe_machine
        echo
        QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen} LC_ALL=C.UTF-8 "$program" "${arguments[@]}"
    } 2>"$results/$name.err" | tee "$results/$name.txt"
}

command_bench() {
    [[ ${1:-} != -- ]] || shift
    local program programs missed=()
    set_job_count
    choose_target ''
    need_packages build "$(toolkit_list)" bench
    build_preset bench benchmarks
    mkdir -p "$build_root/bench/results"
    mapfile -t programs < <(programs_in "$build_root/bench/bench" bench)
    ((${#programs[@]})) || die "there are no benchmarks in build/bench/bench"
    for program in "${programs[@]}"; do
        say "bench: ${program##*/}"
        bench_one "$program" "$@" || missed+=("${program##*/}")
    done
    say "figures: $build_root/bench/results"
    ((${#missed[@]} == 0)) || die "bench: not every goal was met, or it failed: ${missed[*]}"
}

# fuzz_one PROGRAM SECONDS: what it learns goes to build/fuzz/corpus, what it finds to build/fuzz/finds.
fuzz_one() {
    local program=$1 seconds=$2 name=${1##*/}
    name=${name%fuzz}
    local corpus="$build_root/fuzz/corpus/$name" log="$build_root/fuzz/$name.log"
    mkdir -p "$corpus" "$build_root/fuzz/finds"
    "$program" -max_total_time="$seconds" -timeout=60 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$build_root/fuzz/finds/$name-" "$corpus" "$repository/tests/fuzz/seeds/$name" >"$log" 2>&1 || {
        say "fuzz: $name FAILED; the end of $log:"
        tail -n 40 "$log"
        say "fuzz: $name: $(sed -n 's/.*Test unit written to /the input is /p' "$log" | grep . || echo 'no input was kept')"
        return 1
    }
    say "fuzz: $name: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") runs, nothing found"
}

command_fuzz() {
    local seconds=60 program programs failures=0
    while (($#)); do
        case "$1" in
        --seconds) need_value "$@" && seconds=$2 && shift ;;
        *) die "fuzz does not know '$1'; see ./dev --help" ;;
        esac
        shift
    done
    [[ $seconds =~ ^[1-9][0-9]*$ ]] || die "--seconds needs a whole number above 0, not '$seconds'"
    set_job_count
    choose_target ''
    need_packages build "$(toolkit_list)" fuzz
    build_preset fuzz fuzzers
    mapfile -t programs < <(programs_in "$build_root/fuzz/tests/fuzz" fuzz)
    ((${#programs[@]})) || die "there are no fuzz targets in build/fuzz/tests/fuzz"
    say "fuzz: ${#programs[@]} targets, $seconds s each"
    set_sanitizer_options
    # Runs last microseconds: keeping much freed memory back and long stacks for each allocation would take half of it.
    ASAN_OPTIONS+=:quarantine_size_mb=16:malloc_context_size=4
    rm -f "$build_root"/fuzz/*.passed
    for program in "${programs[@]}"; do
        (($(jobs -pr | wc -l) < CMAKE_BUILD_PARALLEL_LEVEL)) || wait -n || true
        { fuzz_one "$program" "$seconds" && touch "$build_root/fuzz/${program##*/}.passed"; } &
    done
    wait
    for program in "${programs[@]}"; do
        [[ -e $build_root/fuzz/${program##*/}.passed ]] || failures=$((failures + 1))
    done
    ((failures == 0)) || die "fuzz: $failures of ${#programs[@]} targets failed; what they found is in build/fuzz/finds"
}

# What every change keeps covered whole: records, readers, matcher, loader, data
# access, test data source. The rest is reported.
covered_whole='src/(Config|DBFuns|LoadDLL|Message|Sensor\.|WCompare|dataaccess/|loader/|records/|text/)'

run_gcovr() { (cd "$repository" && gcovr --root . --exclude-throw-branches --exclude-unreachable-branches "$@"); }

# The counters are read once, which takes minutes; the reports are made of what was found.
read_counters() {
    run_gcovr --object-directory "$build_root/coverage" --exclude-directories '.*/tests/dataaccess/kit(/.*)?' \
        --filter '(src|dblib|tools)/' --json "$1"
}

command_coverage() {
    (($# == 0)) || die "coverage does not know '$1'; see ./dev --help"
    local folder="$build_root/coverage/report" counters="$build_root/coverage/report/counters.json"
    set_job_count
    choose_target ''
    need_packages build "$(toolkit_list)" test display coverage
    build_preset coverage "${everything[@]}"
    find "$build_root/coverage" -name '*.gcda' -delete
    run_ctest coverage
    mkdir -p "$folder"
    read_counters "$counters"
    run_gcovr --add-tracefile "$counters" --html-details "$folder/index.html"
    run_gcovr --add-tracefile "$counters"
    say "lines and branches, file by file: $folder/index.html"
    run_gcovr --add-tracefile "$counters" --filter "$covered_whole" --branches
    run_gcovr --add-tracefile "$counters" --filter "$covered_whole" --fail-under-line 100 --fail-under-branch 100 \
        >"$folder/whole.txt" ||
        die "coverage: lines or branches above that every change keeps covered are not (see docs/development.md)"
}
