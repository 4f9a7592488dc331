# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# Completion of obrimctl for bash: the program itself knows what its command lines go on with.

_obrimctl() {
    local cur words cword typed=() candidate
    # Neither ":" nor "=" ends a word here: both stand in names of sensors and values of options.
    _get_comp_words_by_ref -n := cur words cword
    # Words stand here as they were typed.
    for candidate in "${words[@]:1:cword}"; do
        candidate=${candidate//[\'\"\\]/}
        [[ $candidate != \~/* ]] || candidate=$HOME/${candidate:2}
        typed+=("$candidate")
    done

    COMPREPLY=()
    while IFS=$'\t' read -r candidate _; do
        if [[ $candidate == / ]]; then
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -d -- "${cur#--*=}")
        else
            [[ $candidate != *: ]] || compopt -o nospace
            COMPREPLY+=("$(printf '%q' "$candidate")")
        fi
    done < <("${words[0]}" complete "${typed[@]}" 2>/dev/null)
    # What bash replaces begins behind the last colon.
    __ltrim_colon_completions "${cur#--*=}"
}
complete -F _obrimctl obrimctl
