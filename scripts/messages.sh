# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# The texts of the programs and their catalogues: of the console, by its toolkit, and of the command-line tools.

readonly message_domains=(obrim obrim-tools)
readonly xgettext_options=(--add-location=file --from-code=UTF-8 --add-comments=Translators: --force-po)

# plain_head FILE: without a date, which would differ each day, and with the licence.
plain_head() {
    sed -i -e '/^"POT-Creation-Date:/d' -e '1s/.*/# SPDX-FileCopyrightText: 2026 The obrim developers/' \
        -e '2s/.*/# SPDX-License-Identifier: GPL-2.0-or-later/' -e '3,4d' -e 's,charset=CHARSET,charset=UTF-8,' "$1"
}

# extract_obrim FILE: all texts of the console's forms and code, as a template.
extract_obrim() {
    local common=("${xgettext_options[@]}" --package-name=obrim)
    tracked 'src/*.ui' | LC_ALL=C sort -z | xargs -0 xgettext "${common[@]}" --its=po/ui.its --output="$1" || return
    plain_head "$1"
    tracked 'src/*.cpp' 'src/*.h' | LC_ALL=C sort -z |
        xargs -0 xgettext "${common[@]}" --language=C++ --kde --keyword --keyword=tr2i18n --keyword=i18n \
            --keyword=forTranslators --flag=forTranslators:1:c-format \
            --join-existing --omit-header --output="$1"
}

# extract_obrim-tools FILE: those of the command-line tools.
extract_obrim-tools() {
    tracked 'tools/*.cpp' 'tools/*.h' | LC_ALL=C sort -z |
        xargs -0 xgettext "${xgettext_options[@]}" --package-name=obrim --language=C++ --kde --keyword \
            --keyword=translated --keyword=translatable --keyword=translatedFor:2,3 --output="$1" || return
    plain_head "$1"
}

command_messages() {
    (($# == 0)) || die "messages does not know '$1'; see ./dev --help"
    choose_target ''
    need_packages build
    cd "$repository" || return
    local domain catalogue
    for domain in "${message_domains[@]}"; do
        "extract_$domain" "po/$domain.pot"
        for catalogue in po/*/"$domain.po"; do
            msgmerge --quiet --update --backup=none --no-fuzzy-matching --add-location=file "$catalogue" "po/$domain.pot"
            msgattrib --no-obsolete --output-file="$catalogue" "$catalogue"
            say "$catalogue: $(msgfmt --statistics --output-file=/dev/null "$catalogue" 2>&1)"
        done
    done
}

# Every text is in every catalogue, translated and with its placeholders; nothing else is.
lint_messages() {
    local domain catalogue now status=0
    cd "$repository" || return
    now=$(mktemp)
    for domain in "${message_domains[@]}"; do
        "extract_$domain" "$now" >&2
        cmp -s "$now" "po/$domain.pot" ||
            { printf '%s is not of the texts of today: ./dev messages\n' "po/$domain.pot" >&2 && status=1; }
        for catalogue in po/*/; do
            catalogue+="$domain.po"
            msgfmt --check-format --output-file=/dev/null "$catalogue" >&2 || status=1
            msgcmp "$catalogue" "$now" >&2 || status=1
        done
    done
    rm "$now"
    return "$status"
}
