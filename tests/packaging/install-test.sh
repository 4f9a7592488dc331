#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# install-test.sh CMAKE BUILD-FOLDER BINDIR DATADIR LIBDIR: installs into a folder of its own, as a
# package's build does, looks at what is there, and sets up an installation with it.
set -euo pipefail

# shellcheck source=tests/packaging/stage.sh
source "$(dirname -- "$0")/stage.sh"
bin=$3
data=$4
lib=$5

for file in "$bin/obrim" "$bin/obrimctl" "$bin/sensor-sim" "$bin/dblib-check" "$bin/dblib-new" "$lib/obrim/sqlite.so" \
    "$lib/obrim/bridge.so" "$lib/obrim/recorder.so" "$lib/obrim/player.so" \
    "$lib/obrim/postgresql.so" "$data/obrim/postgresql/1.sql" \
    "$data/obrim/postgresql/roles.sql" "$data/applications/obrim.desktop" "$data/metainfo/org.obrim.obrim.metainfo.xml" \
    "$data/icons/hicolor/scalable/apps/obrim.svg" "$data/icons/hicolor/48x48/apps/obrim.png" \
    "$lib/pkgconfig/obrimdb.pc" "$lib/pkgconfig/obrimdbc.pc" "$data/bash-completion/completions/obrimctl" "$data/licenses/obrim/GPL-2.0-or-later.txt"; do
    [[ -s $stage$file ]] || die "$file is not installed"
done
[[ -s $(echo "$stage$data"/knotifications[56]/obrim.notifyrc) ]] || die "obrim.notifyrc is not installed"

desktop-file-validate "$stage$data/applications/obrim.desktop" || die "the desktop entry is not valid"

# What the desktop starts and shows is what was installed.
field() { sed -n "s/^$1=//p" "$stage$data/applications/obrim.desktop"; }
[[ -x $stage$bin/$(field Exec) ]] || die "the desktop entry starts $(field Exec), which is not installed"
[[ -s $stage$data/icons/hicolor/scalable/apps/$(field Icon).svg ]] || die "there is no icon $(field Icon)"

# Software centres find the desktop entry by the name that the description gives.
launched=$(sed -n 's:.*<launchable type="desktop-id">\(.*\)</launchable>.*:\1:p' "$stage$data/metainfo/org.obrim.obrim.metainfo.xml")
[[ -n $launched && -s $stage$data/applications/$launched ]] || die "the description for software centres starts '$launched'"

width=$(file -b "$stage$data/icons/hicolor/48x48/apps/obrim.png")
[[ $width == *'48 x 48'* ]] || die "the icon of 48 pixels is: $width"

# What is installed must not look for libraries in the build folder.
for file in "$bin/obrim" "$bin/obrimctl" "$bin/sensor-sim" "$bin/dblib-check" "$lib/obrim/sqlite.so"; do
    readelf -d "$stage$file" >"$stage/dynamic"
    ! grep -qE 'RPATH|RUNPATH' "$stage/dynamic" || die "$file carries the build's library path"
done

XDG_RUNTIME_DIR="$stage" "$stage$bin/obrim" --version >"$stage/version"
grep -q '^obrim [0-9]' "$stage/version" || die "the installed program does not tell its version"

for file in "$stage$bin/"{obrimctl,sensor-sim,dblib-check,dblib-new} "$stage$lib"/obrim/dblib-host-*; do
    tool=${file##*/}
    "$file" --version >"$stage/version"
    grep -qx "${tool%-[0-9]*} [0-9.]*" "$stage/version" || die "$tool does not tell its version"
    "$file" --help >"$stage/help"
    grep -qi '^exit status' "$stage/help" || grep -q 'Exit status: 0' "$stage/help" ||
        die "$tool does not say what its exit statuses mean"
    status=0
    "$file" --no-such-option >"$stage/help" 2>&1 || status=$?
    ((status == 2)) || die "$tool ends with $status, not 2, for an option that it does not know"
done

# A new installation on what was installed, as docs/sqlite.md tells an operator to set it up.
plant=$stage/plant
mkdir -p "$plant/bin" "$plant/Libs" "$plant/Config" "$plant/Pics"
touch "$plant/Pics/Red.bmp"
ln -s "$stage$lib/obrim/sqlite.so" "$plant/Libs/DBLib.a"
"$stage$bin/sensor-sim" --config "$plant/Config" --sensors 6 --fill 500 >"$stage/sim" ||
    die "the installed simulator does not fill the installation: $(cat "$stage/sim")"
"$stage$bin/dblib-check" --only file --only load --only event-order "$plant/Libs/DBLib.a" >"$stage/check" ||
    die "the installed checker does not like the installed library: $(cat "$stage/check")"

# The same library behind the bridge, which finds its host where it was installed.
ln -sf "$stage$lib/obrim/bridge.so" "$plant/Libs/DBLib.a"
echo "Library=$stage$lib/obrim/sqlite.so" >"$plant/Config/DBLib.def"
"$stage$bin/dblib-check" --only load --only initialise --only event-order "$plant/Libs/DBLib.a" >"$stage/check" ||
    die "the installed checker does not like the installed bridge: $(cat "$stage/check")"
! grep -q "^warn" "$stage/check" || die "the installed bridge does not come to work: $(cat "$stage/check")"

# The same by the tool for the shell, which finds the library beside itself, wherever that is.
XDG_DATA_HOME=$stage/home "$stage$bin/obrimctl" init "$stage/tooled" --database sqlite --desktop-entry >"$stage/init" ||
    die "the installed tool makes no installation"
[[ $stage/tooled/Libs/DBLib.a -ef $stage$lib/obrim/sqlite.so ]] || die "the tool links to another library"
"$stage$bin/obrimctl" -C "$stage/tooled" status >"$stage/status" || die "it is not well: $(cat "$stage/status")"
entry=$(echo "$stage"/home/applications/*.desktop)
desktop-file-validate "$entry" || die "its menu entry is not valid"
grep -qFx "Exec=\"$stage$bin/obrim\"" "$entry" || die "its menu entry does not start the installed console: $(cat "$entry")"
[[ -n $(find "$stage$data/zsh" -name _obrimctl) ]] || die "there is no completion for zsh"
