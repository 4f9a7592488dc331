# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# Format, layers, static analysis, shell scripts, licence lines, the description for software centres. All
# checks run; each says what it found.

tracked() { git -C "$repository" -c "safe.directory=$repository" ls-files -z --cached --others --exclude-standard -- "$@"; }

lint_format() {
    tracked '*.cpp' '*.h' '*.c' | (cd "$repository" && xargs -0r clang-format-16 --dry-run -Werror)
}

# Checking ./dev checks the parts that it reads.
lint_shell() {
    tracked dev .ci scripts/enter-root scripts/try-packages packaging/systemd/obrim-{backup,thin-out}.in debian/tests \
        ':!debian/tests/control' '*.sh' ':!scripts/*.sh' |
        (cd "$repository" && xargs -0r shellcheck --external-sources --check-sourced)
}

# lines_missing PATTERN: the tracked files without a line of that pattern, but for those of REUSE.toml.
lines_missing() {
    tracked . ':!LICENSES' ':!docs/manual/*.png' ':!docs/pictures' ':!tests/fuzz/seeds' ':!tests/bridge/recordings' \
        ':!debian/changelog' ':!debian/source/format' |
        (cd "$repository" && xargs -0 grep -IEL "$1") || true
}

lint_licences() {
    local without
    without=$(
        lines_missing 'SPDX-FileCopyrightText"?:'
        lines_missing 'SPDX-License-Identifier"?:'
    )
    [[ -z $without ]] || {
        printf 'no SPDX lines: %s\n' "$(sort -u <<<"$without" | paste -sd' ')" >&2
        return 1
    }
}

lint_metainfo() {
    local name=org.obrim.obrim.metainfo.xml folder status=0
    folder=$(mktemp -d)
    sed 's/@PROJECT_VERSION@/0/' "$repository/packaging/$name.in" >"$folder/$name"
    appstreamcli validate --pedantic --no-net "$folder/$name" >&2 || status=1
    rm -r "$folder"
    return "$status"
}

# The console's design names the files of its own classes and functions.
readonly designed_files='src/(CommandsList|Config|DBFuns(Debug)?|EventsList|LoadDLL|Message[A-Za-z]*|Sensor(sList)?|WCompare|cwd_[a-z]+)[.]'

lint_files() {
    local odd
    odd=$(
        tracked '*.cpp' '*.h' '*.c' | tr '\0' '\n' | grep -vE "(^|/)[a-z0-9]+[.](cpp|h|c)\$|^$designed_files"
        tracked '*.h' | (cd "$repository" && xargs -0 grep -L '^#pragma once$')
    )
    [[ -z $odd ]] || {
        printf 'not named by the rule, or without #pragma once: %s\n' "$(paste -sd' ' <<<"$odd")" >&2
        return 1
    }
}

# The version is CMake's. What CMake writes no part of has it from people.
lint_version() {
    local version odd
    version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$repository/CMakeLists.txt")
    odd=$(cd "$repository" && grep -rnE 'find_package\(ObrimDB ' dblib docs | grep -vF "(ObrimDB $version ")
    grep -qE "^## $version(\$|,)" "$repository/CHANGELOG.md" || odd+=" CHANGELOG.md"
    grep -qF "<releaseinfo>$version</releaseinfo>" "$repository/docs/manual/index.docbook" || odd+=" docs/manual"
    [[ $(sed -n '1s/^obrim (\(.*\)).*/\1/p' "$repository/debian/changelog") == "$version" ]] || odd+=" debian/changelog"
    [[ -n $version && -z $odd ]] || {
        printf 'not of version %s:\n%s\n' "$version" "$odd" >&2
        return 1
    }
}

lint_layers() { python3 "$scripts/check-layers.py" "$repository" "$build_root/$target_name"; }

# tidy FOLDERS [OPTION...]: analyse the sources and headers in these folders, a pattern.
tidy() {
    local place log="$build_root/clang-tidy.log"
    place="^$(regex_of "$repository")/$1/"
    shift
    python3 "$scripts/analysis-commands.py" "$build_root/$target_name" "$build_root/analysis"
    run-clang-tidy-14 -quiet -p "$build_root/analysis" -j "$CMAKE_BUILD_PARALLEL_LEVEL" \
        -header-filter "$place" "$@" "$place" >"$log" 2>&1 && return 0
    grep -vE '^[0-9]+ warnings? (generated|treated)|^clang-tidy-14 |^Suppressed |^Use ' "$log" >&2
    return 1
}

lint_tidy() { tidy '(src|dblib|tools)'; }

# The tests are read by people and run under sanitizers: beyond their names, analysing them would double the time.
lint_names() { tidy tests -checks='-*,readability-identifier-naming' -extra-arg=-w; }

regex_of() { python3 -c 'import re, sys; print(re.escape(sys.argv[1]))' "$1"; }

command_lint() {
    (($# == 0)) || die "lint does not know '$1'; see ./dev --help"
    local check failed=()
    set_job_count
    choose_target ''
    is_native || die "lint runs on Debian 12: its clang is the one that the sources are formatted with"
    need_packages build "$(toolkit_list)" test lint
    build_preset "$target_name" "${everything[@]}"
    for check in format files version layers shell licences messages metainfo tidy names; do
        say "lint: $check"
        "lint_$check" || failed+=("$check")
    done
    ((${#failed[@]} == 0)) || die "lint failed: ${failed[*]}"
    say "lint: clean"
}
