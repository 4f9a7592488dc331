#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# hardening-test.sh CMAKE BUILD-FOLDER: what is installed is built as docs/security.md says.
set -euo pipefail

# shellcheck source=tests/packaging/stage.sh
source "$(dirname -- "$0")/stage.sh"

# has FILE PATTERN WHAT: what readelf told of the file holds the pattern.
has() { grep -qE "$2" "$stage/elf" || fail "$1" "$3"; }
has_not() { ! grep -qE "$2" "$stage/elf" || fail "$1" "$3"; }

# imports FILE PATTERN WHAT: such a function of another library is called.
imports() { grep -qE "UND $2" "$stage/elf" || fail "$1" "$3"; }

# marked FILE: on x86 every target of an indirect branch is an instruction of its own.
marked() {
    local marks
    marks=$(objdump -d --no-show-raw-insn "$1" | grep -c endbr64 || true)
    ((marks >= 20)) || fail "$1" "targets of indirect branches are not marked (-fcf-protection): $marks are"
}

check() {
    local file=$1 type
    readelf --wide --file-header --program-headers --dynamic --dyn-syms "$file" >"$stage/elf"
    type=$(sed -n 's/^ *Type: *\([A-Z]*\).*/\1/p' "$stage/elf")
    [[ $type == DYN ]] || fail "$file" "is of type $type: not position independent"
    ! grep -q INTERP "$stage/elf" || has "$file" 'FLAGS_1.*PIE' 'is a program, but not position independent'
    has "$file" GNU_RELRO 'no segment becomes read-only after relocation (-z relro)'
    has "$file" 'FLAGS.*BIND_NOW' 'symbols are bound late (-z now)'
    has_not "$file" 'GNU_STACK.* RWE ' 'the stack can be executed'
    has_not "$file" 'LOAD.* RWE ' 'a segment can be written and executed'
    has_not "$file" TEXTREL 'code is relocated'
    imports "$file" '__stack_chk_fail' 'functions do not guard their return address (-fstack-protector-strong)'
    has_not "$file" 'UND (f|d|s|sn)?printf@' 'a function of the C library is called unchecked (_FORTIFY_SOURCE)'
    imports "$file" '_ZSt21__glibcxx_assert_fail' 'containers are not checked (_GLIBCXX_ASSERTIONS)'
    ! grep -q 'Machine:.*X86-64' "$stage/elf" || marked "$file"
}

mapfile -d '' -t installed < <(find "$stage" -type f -print0)
count=0
for file in "${installed[@]}"; do
    # A file of a library's author to link is no shared object.
    [[ $(head -c 4 "$file" | tr -d '\0') == $'\x7fELF' ]] || continue
    check "$file"
    count=$((count + 1))
done
((count >= 4)) || fail "$2" "only $count programs and libraries are installed"
exit $((failures > 0))
