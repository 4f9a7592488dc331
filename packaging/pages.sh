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
    sed -E -e 's/\]\(([^):]*)\.md(#[^)]*)?\)/](\1.html\2)/g' "$sources/$1" |
        pandoc --from=gfm --to=html5 --standalone --metadata pagetitle="$title" --metadata lang=en --output="$folder/$2"
}

page README.md index.html
for name in CHANGELOG CONTRIBUTING SECURITY; do
    page "$name.md" "$name.html"
done
for file in "$sources"/docs/*.md; do
    name=$(basename -- "$file" .md)
    page "docs/$name.md" "docs/$name.html"
done
cp -r "$sources/docs/pictures" "$sources/docs/results" "$folder/docs"
