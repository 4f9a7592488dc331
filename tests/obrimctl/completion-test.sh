#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# completion-test.sh PROGRAM COMPLETIONS LIBRARY: types at the prompts of bash and zsh with the
# completion that is installed, and looks at what becomes of it.
set -euo pipefail

program=$1
completions=$2
library=$3
# Its name stands in what is typed, so it has no blanks, whatever the build folder has.
folder=$(mktemp -d /tmp/completion-test.XXXXXX)
trap 'rm -rf "$folder"' EXIT

fail() {
    printf 'completion-test: %s\n' "$*" >&2
    exit 1
}

mkdir -p "$folder/zsh" "$folder/some folder"
cp "$completions/_obrimctl" "$folder/zsh"
PATH="$(dirname "$program"):$PATH"
obrimctl init "$folder/plant" --database "library:$library" >"$folder/init"

# What bash offers, asked as readline asks.
bash_offers() {
    bash --norc -s "$completions/obrimctl.bash" "$1" <<'END'
source /usr/share/bash-completion/bash_completion
source "$1"
compopt() { :; }
COMP_LINE=$2
COMP_POINT=${#COMP_LINE}
COMP_WORDBREAKS=$' \t\n"\'><=;|&(:'
mapfile -t COMP_WORDS < <(grep -oE '[^ =:]+|[=:]' <<<"$COMP_LINE")
[[ $COMP_LINE != *' ' ]] || COMP_WORDS+=('')
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
_obrimctl
printf '%s\n' "${COMPREPLY[@]}"
END
}

cat >"$folder/zsh/.zshrc" <<'END'
fpath=($ZDOTDIR $fpath)
autoload -Uz compinit && compinit -u -d $ZDOTDIR/dump
setopt no_auto_menu no_beep
unset zle_bracketed_paste
take() { print -r -- "<<$BUFFER>>" }
zle -N take
bindkey '^X' take
cd $ZDOTDIR/..
stty columns 200
PS1=READY
END

# What a line becomes in zsh by a tab, at a real prompt.
zsh_becomes() {
    ZDOTDIR=$folder/zsh zsh -f -s "$1" <<'END'
zmodload zsh/zpty
zpty shell zsh -d -i
zpty -r shell shown '*READY*'
zpty -n -w shell "$1"$'\t\x18'
zpty -r shell shown '*>>*'
print -r -- "${${shown##*<<}%%>>*}"
END
}

expect() { [[ $2 == "$3" ]] || fail "$1: '$2', not '$3'"; }
offers() { expect "bash: $1" "$(bash_offers "obrimctl $1" | paste -sd' ')" "$2"; }
becomes() { expect "zsh: $1" "$(zsh_becomes "obrimctl $1")" "obrimctl $2"; }

at="-C $folder/plant"
offers '' 'sensors events commands put delete status copy init'
offers 'ev' 'events'
offers 'events --se' '--sensor --sensor-type'
offers "put $at " 'sensor1 sensor2 sensor3'
offers "put $at sensor2 re" 'restart'
offers "events $at -s sensor3" 'sensor3'
offers "events $at --sensor=sensor3" 'sensor3'
offers 'events -o j' 'json'
offers 'events --output=c' 'csv'
offers 'sensors -t ' 'alive dead unknown'
offers 'commands -t k' 'kill'
offers 'delete e' 'event'
offers "init --database l" 'library:'
offers "copy $folder/pl" "$folder/plant"
offers 'events -s sensor' ''

becomes 'ev' 'events '
becomes 'events --foll' 'events --follow '
becomes "put $at sensor2 re" "put $at sensor2 restart "
becomes "put $at sens" "put $at sensor"
becomes "events $at --sensor=sensor3" "events $at --sensor=sensor3 "
becomes 'events --output=c' 'events --output=csv '
becomes 'init --database l' 'init --database library:'
becomes 'copy pl' 'copy plant/'
becomes 'copy so' 'copy some\ folder/'
