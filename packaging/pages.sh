#!/bin/sh
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# pages.sh FOLDER: makes the pages of docs as HTML in FOLDER. Links between them stay whole.
set -eu

sources=$(dirname -- "$0")/..
folder=$1
mkdir -p "$folder/docs"

# page MARKDOWN HTML
page() {
    title=$(sed -n 's/^# //p' "$sources/$1" | head -n 1 | tr -d '`')
    sed -E -e 's,manual/index\.docbook,manual.html,' -e 's/\]\(([^):]*)\.md(#[^)]*)?\)/](\1.html\2)/g' "$sources/$1" |
        pandoc --from=gfm --to=html5 --standalone --metadata pagetitle="$title" --metadata lang=en --output="$folder/$2"
}

# The source of what F1 opens, without the entities that only the tools of KDE know.
manual() {
    sed -E -e '/^<!DOCTYPE/,/^\]>/d' -e 's/&obrim;/obrim/g' -e 's/ lang="&language;"//' \
        -e 's,fileref=",&manual/,' -e 's,<(/?)gui(button|label|menuitem)>,<\1emphasis>,g' \
        "$sources/docs/manual/index.docbook" |
        pandoc --from=docbook --to=html5 --standalone --toc --metadata lang=en --output="$folder/docs/manual.html"
}

page README.md index.html
manual
for name in CHANGELOG CONTRIBUTING SECURITY; do
    page "$name.md" "$name.html"
done
for file in "$sources"/docs/*.md; do
    name=$(basename -- "$file" .md)
    page "docs/$name.md" "docs/$name.html"
done
cp -r "$sources/docs/pictures" "$sources/docs/results" "$folder/docs"
mkdir -p "$folder/docs/manual"
cp "$sources/docs/manual"/*.png "$folder/docs/manual"
