# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
# shellcheck shell=bash
#
# Roots: a Debian of its own for each target that is not this machine's. A root holds the
# packages that the commands need, so inside it ./dev is a native run.

readonly roots="$build_root/roots"

root_suite() {
    case "$target_name" in
    debian12-*) printf 'bookworm' ;;
    debian13-*) printf 'trixie' ;;
    esac
}

root_packages() { packages_of build "$(toolkit_list)" test display; }

# What a root was made of: another list, suite or word width makes another root.
root_stamp() {
    { printf '%s\n' "$(root_suite)" "$target_name" && root_packages; } | sha256sum | cut -d' ' -f1
}

# configured_sources [OPTION...]: this machine's package sources as apt-get knows them, one a line:
# the suite's codename, the suite as it is configured, its archive, a component of it.
configured_sources() {
    # The names between $() are apt-get's.
    # shellcheck disable=SC2016
    apt-get indextargets "$@" --format '$(CODENAME) $(RELEASE) $(REPO_URI) $(COMPONENT)' 'Created-By: Packages'
}

# The sources of the target's root: Debian's own among this machine's, for the target's suite in
# place of the machine's. Without index files nothing but the configured suite is known of a source.
root_sources() {
    local own codename suite archive component
    own=$(os_field VERSION_CODENAME)
    { configured_sources | grep . || configured_sources --no-release-info; } |
        while read -r codename suite archive component; do
            [[ $codename == "$own"* ]] || codename=$suite
            case "$codename" in
            "$own" | "$own-updates" | "$own-security")
                printf 'deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] %s %s %s\n' \
                    "$archive" "$(root_suite)${codename#"$own"}" "$component"
                ;;
            esac
        done | sort -u
}

# How this machine reaches them: proxies, and what it makes of dates. The rest of its settings stays out.
root_fetch_settings() { apt-config dump | grep -E '^Acquire::(https?|Check|Retries)'; }

need_root_tools() {
    ((EUID == 0)) || die "the root of $target_name needs root rights (it is entered with chroot).
Run as root: ./dev $*   (for example: sudo ./dev $*)"
    need_packages roots
}

# fetch_root SOURCES LOG
fetch_root() {
    rm -rf --one-file-system "$roots/$target_name.new"
    mmdebstrap --variant=minbase --architectures="${target_name##*-}" \
        --dpkgopt=force-unsafe-io --dpkgopt='path-exclude=/usr/share/doc/*' --dpkgopt='path-exclude=/usr/share/man/*' \
        --aptopt="$roots/$target_name.apt" \
        --include="$(root_packages | paste -sd,)" "$(root_suite)" "$roots/$target_name.new" - <<<"$1" >"$2" 2>&1
}

# A suite without those that amend it, whose indexes change daily: mirrors hold them half-copied at times.
unamended() { awk -v suite="$(root_suite)" '$4 == suite' <<<"$1"; }

# Fails with the reason, and leaves nothing half-made behind that would be taken for a root.
make_root() {
    local root="$roots/$target_name" log="$roots/$target_name.log" stamp=$1 sources
    sources=$(root_sources)
    [[ -n $sources ]] || die "the root of $target_name cannot be made: the package sources of this machine
(apt-get indextargets) name no archive of Debian's own suites"
    say "making the root of $target_name in build/roots (some minutes, 1.5 GB)"
    rm -rf --one-file-system "$root" "$root.stamp"
    root_fetch_settings >"$roots/$target_name.apt" || true
    if ! fetch_root "$sources" "$log"; then
        say "the root of $target_name cannot be made with its updates, so without them:
$(last_errors "$log")"
        sources=$(unamended "$sources")
        fetch_root "$sources" "$log" || die "the root of $target_name cannot be made from
$sources
$(last_errors "$log")
mmdebstrap's whole output is in $log"
    fi
    mv "$root.new" "$root"
    printf '%s\n' "$stamp" >"$root.stamp"
}

ensure_root() {
    local stamp
    stamp=$(root_stamp)
    mkdir -p "$roots"
    exec {root_lock}>"$roots/$target_name.lock"
    flock "$root_lock"
    [[ -d $roots/$target_name && $(cat "$roots/$target_name.stamp" 2>/dev/null) == "$stamp" ]] || make_root "$stamp"
    exec {root_lock}>&-
}

# Every target but this machine's own: made now, they need not be waited for later.
command_roots() {
    (($# == 0)) || die "roots does not know '$1'; see ./dev --help"
    local target
    for target in $known_targets; do
        choose_target "$target"
        is_native && continue
        need_root_tools roots
        ensure_root
        say "the root of $target_name is there"
    done
}

# Environment of a command in a root: this machine's must not leak in, but for what is named.
root_environment=(
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8
)
pass_environment() {
    local name
    for name in TERM CMAKE_BUILD_PARALLEL_LEVEL CTEST_PARALLEL_LEVEL DISPLAY; do
        [[ -z ${!name:-} ]] || root_environment+=("$name=${!name}")
    done
    [[ -z ${DISPLAY:-} ]] || root_environment+=(XAUTHORITY=/root/.Xauthority)
}

# A 32-bit root shall see a 32-bit machine.
root_personality() {
    case "$target_name" in
    *-i386) printf 'linux32' ;;
    *) printf 'linux64' ;;
    esac
}

can_mount() { unshare --mount --pid --fork true 2>/dev/null; }

# Where nothing can be mounted (some containers), the sources go in and the build folder comes out.
run_in_copy() {
    local root="$roots/$target_name" status=0
    say "nothing can be mounted here: working on a copy of the sources"
    mkdir -p "$root/obrim" "$build_root/$target_name"
    rsync -a --delete --exclude=/build --exclude=/build-* --exclude=/.git "$repository/" "$root/obrim/"
    chroot "$root" env -i "${root_environment[@]}" setarch "$(root_personality)" /obrim/dev "$@" || status=$?
    rsync -a --delete "$root/obrim/build/$target_name/" "$build_root/$target_name/"
    return "$status"
}

# in_root COMMAND [ARGUMENT...]: ./dev COMMAND for target_name, in its root.
in_root() {
    local command=$1
    shift
    need_root_tools "$command" --target "$target_name"
    ensure_root
    pass_environment
    if can_mount; then
        unshare --mount --pid --fork --kill-child "$scripts/enter-root" "$roots/$target_name" "$repository" \
            env -i "${root_environment[@]}" setarch "$(root_personality)" /obrim/dev "$command" "$@"
    else
        run_in_copy "$command" "$@"
    fi
}
