# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# Debian packages: built in a root that holds what debian/control asks for and nothing else, and tried in one
# that holds nothing but the packages.

readonly debian="$repository/debian"

package_version() { sed -n '1s/.*(\(.*\)).*/\1/p' "$debian/changelog"; }
packages_folder() { printf '%s' "$build_root/packages/$target_name"; }

# bare_root ROOT LOG [MMDEBSTRAP-ARGUMENT...]: a Debian of the target's suite. Of a suite whose updates cannot be
# had it has none.
bare_root() {
    local root=$1 log=$2 sources kind
    shift 2
    need_root_tools package --target "$target_name"
    mkdir -p "$roots"
    sources=$(root_sources)
    [[ -n $sources ]] || die "the package sources of this machine name no archive of Debian's own suites"
    root_fetch_settings >"$roots/$target_name.apt" || true
    for kind in amended unamended; do
        [[ $kind == amended ]] || sources=$(unamended "$sources")
        [[ $root == /dev/null ]] || rm -rf --one-file-system "$root"
        mmdebstrap --architectures="${target_name##*-}" --dpkgopt=force-unsafe-io --aptopt="$roots/$target_name.apt" \
            "$@" "$(root_suite)" "$root" - <<<"$sources" >"$log" 2>&1 && return
        ! grep -q '^=== ' "$log" || break # a test has failed
    done
    die "the root $root cannot be made:
$(last_errors "$log")
mmdebstrap's whole output is in $log"
}

# in_bare_root ROOT COMMAND...
in_bare_root() {
    local root=$1
    shift
    pass_environment
    if can_mount; then
        unshare --mount --pid --fork --kill-child "$scripts/enter-root" "$root" "$repository" \
            env -i "${root_environment[@]}" setarch "$(root_personality)" "$@"
    else
        chroot "$root" env -i "${root_environment[@]}" setarch "$(root_personality)" "$@"
    fi
}

# The root to build in is kept until debian/control asks for other packages.
ensure_build_root() {
    local root=$1 stamp
    stamp=$({ root_suite && sed -n '/^Build-Depends/,/^[A-Z]/p' "$debian/control"; } | sha256sum)
    [[ -d $root && $(cat "$root.stamp" 2>/dev/null) == "$stamp" ]] && return
    say "making the root of $target_name to build packages in (some minutes, 1.5 GB)"
    rm -f "$root.stamp"
    # What stands between the quotes is for the hook's shell.
    # shellcheck disable=SC2016
    bare_root "$root" "$root.log" --variant=buildd --dpkgopt='path-exclude=/usr/share/doc/*' \
        --customize-hook='mkdir -p "$1/build/obrim"' --customize-hook="copy-in $debian /build/obrim" \
        --customize-hook='chroot "$1" sh -c "cd /build/obrim && apt-get --yes --no-install-recommends build-dep ./"'
    printf '%s\n' "$stamp" >"$root.stamp"
}

# What is tracked or new, without what was built.
copy_sources() { tracked . | rsync -a --delete --from0 --files-from=- "$repository/" "$1/"; }

# build_packages ROOT INTO [NAME SOURCES]: in a folder of that name in the root, of the sources in an archive.
build_packages() {
    local root=$1 into=$2 sources=${4:-} folder
    folder=/build/${3:-obrim-$(package_version)}
    rm -rf --one-file-system "$root/build"
    mkdir -p "$root$folder"
    if [[ -n $sources ]]; then
        tar -xf "$sources" -C "$root$folder" --strip-components=1
    else
        copy_sources "$root$folder"
    fi
    in_bare_root "$root" sh -c "cd $folder && DEB_BUILD_OPTIONS=parallel=$CMAKE_BUILD_PARALLEL_LEVEL dpkg-buildpackage -uc -us" \
        >"$root.build.log" 2>&1 || die "the packages of $target_name are not built:
$(tail -n 20 "$root.build.log")
The whole output is in $root.build.log"
    rm -rf "$into"
    mkdir -p "$into"
    find "$root${folder%/*}" -maxdepth 1 -type f -exec mv -t "$into" {} +
}

# Whoever builds the packages anew can see that they are of these sources: nothing of the place or the time of a
# build is in them.
compare_packages() {
    local root=$1 again differing
    again="$(packages_folder).again"
    say "building the packages of $target_name in another folder"
    build_packages "$root" "$again" elsewhere/than/before "$(packages_folder)/obrim_$(package_version).tar.xz"
    differing=$(cd "$again" && for file in *.deb; do cmp -s "$file" "$(packages_folder)/$file" || printf ' %s' "$file"; done)
    [[ -z $differing ]] || die "two builds differ in$differing; the second one is in $again"
    rm -rf "$again"
}

# The checker of another Debian knows other rules. The maintainers have no mail address in a domain of
# their own, nor a list of reported faults: whoever uploads the packages puts theirs.
check_packages() {
    [[ $target_name == "$(native_target | cut -d- -f1)"-* ]] || return 0
    need_packages package
    lintian --pedantic --fail-on=error,warning,pedantic \
        --suppress-tags=bogus-mail-host,bogus-mail-host-in-debian-changelog,initial-upload-closes-no-bugs \
        "$(packages_folder)"/*.changes || die "lintian has something to say of the packages of $target_name"
}

# What a user has who installs them: in a root that holds nothing else, and is gone afterwards.
try_packages() {
    local log="$roots/$target_name.packages.log"
    say "trying the packages of $target_name in a root of their own"
    need_packages package
    bare_root /dev/null "$log" --variant=apt --format=null --dpkgopt='path-exclude=/usr/share/man/*' \
        --customize-hook="'$scripts/try-packages' \"\$1\" '$(packages_folder)' '$debian'"
    sed -n '/^===/p' "$log"
    say "pictures: $(packages_folder)/tests"
}

command_package() {
    local target='' root trying= twice=
    while (($#)); do
        case "$1" in
        --try) trying=yes ;;
        --twice) twice=yes ;;
        --target) need_value "$@" && target=$2 && shift ;;
        *) die "package does not know '$1'; see ./dev --help" ;;
        esac
        shift
    done
    set_job_count
    choose_target "$target"
    root="$roots/$target_name.package"
    ensure_build_root "$root"
    build_packages "$root" "$(packages_folder)"
    check_packages
    [[ -z $twice ]] || compare_packages "$root"
    [[ -z $trying ]] || try_packages
    say "packages: $(packages_folder)"
}
