# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# The texts of the program and their catalogues.

readonly template=po/obrim.pot

# extract_messages FILE: all texts of forms and code, as a template. Without a date: it would differ each day.
extract_messages() {
    local common=(--add-location=file --from-code=UTF-8 --package-name=obrim --add-comments=Translators: --force-po)
    tracked 'src/*.ui' | xargs -0 xgettext "${common[@]}" --its=po/ui.its --output="$1" || return
    sed -i -e '/^"POT-Creation-Date:/d' -e '1s/.*/# SPDX-FileCopyrightText: 2026 The obrim developers/' \
        -e '2s/.*/# SPDX-License-Identifier: GPL-2.0-or-later/' -e '3,4d' -e 's,charset=CHARSET,charset=UTF-8,' "$1"
    tracked 'src/*.cpp' 'src/*.h' |
        xargs -0 xgettext "${common[@]}" --language=C++ --kde --keyword --keyword=tr2i18n --keyword=i18n \
            --keyword=forTranslators --flag=forTranslators:1:c-format \
            --join-existing --omit-header --output="$1"
}

command_messages() {
    (($# == 0)) || die "messages does not know '$1'; see ./dev --help"
    choose_target ''
    need_packages build
    cd "$repository" || return
    extract_messages "$template"
    local catalogue
    for catalogue in po/*/obrim.po; do
        msgmerge --quiet --update --backup=none --no-fuzzy-matching --add-location=file "$catalogue" "$template"
        msgattrib --no-obsolete --output-file="$catalogue" "$catalogue"
        say "$catalogue: $(msgfmt --statistics --output-file=/dev/null "$catalogue" 2>&1)"
    done
}

# Every text is in every catalogue, translated and with its placeholders; nothing else is.
lint_messages() {
    local catalogue now status=0
    cd "$repository" || return
    now=$(mktemp)
    extract_messages "$now" >&2
    cmp -s "$now" "$template" ||
        { printf '%s is not of the texts of today: ./dev messages\n' "$template" >&2 && status=1; }
    for catalogue in po/*/obrim.po; do
        msgfmt --check-format --output-file=/dev/null "$catalogue" >&2 || status=1
        msgcmp "$catalogue" "$now" >&2 || status=1
    done
    rm "$now"
    return "$status"
}
