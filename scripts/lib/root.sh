# shellcheck shell=bash
# Debian 12 in a directory: where packages are built for other machines, and tried, without touching this one.

# What the machine's own sources call the archive of the release. Its security updates stay out: they come for one
# architecture sooner than for another, and libraries for several must be of one version.
ReleaseArchive() {
    # shellcheck disable=SC2016  # apt-get expands them
    apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
        awk '$2 == "bookworm" && $3 == "main" { print $1; found = 1; exit } END { exit !found }'
}

# MakeRoot DIRECTORY ARCHITECTURES PACKAGE...: Debian for these architectures (separated by commas, this machine's
# first) with the packages. One that was made of the same words is kept. Root inside is an ordinary user himself, so that
# nothing outside must be open to others.
MakeRoot() {
    local directory=$1 architectures=$2 archive packages words
    words="$*"
    [ "$(cat "$directory.words" 2>/dev/null)" != "$words" ] || return 0
    if ! WorldOfRoots true; then
        echo "an ordinary user wants user namespaces, and other users' numbers in /etc/subuid and /etc/subgid; root does not" >&2
        return 1
    fi
    echo "making a Debian root for $architectures in $directory (a few minutes)"
    mkdir -p "$(dirname "$directory")"
    rm -f "$directory.words"
    RemoveRoot "$directory"
    archive=$(ReleaseArchive)
    packages=$(IFS=, && echo "${*:3}")
    if ! WorldOfRoots mmdebstrap --mode=root --variant=buildd --architectures="$architectures" --include="$packages" \
        bookworm "$directory" "deb $archive bookworm main" >"$directory.log" 2>&1; then
        tail -n 30 "$directory.log" >&2
        return 1
    fi
    echo "$words" >"$directory.words"
}

# PackagesRootHolds ARCHITECTURE: the compilers for all machines, for each of them what the daemon wants, and for one what
# the lab wants; some of that is there for one at a time only.
PackagesRootHolds() {
    printf '%s\n' cmake debhelper dh-dkms g++-aarch64-linux-gnu g++-arm-linux-gnueabihf ninja-build nlohmann-json3-dev
    printf '%s\n' {libboost-{,program-options-},libc6-}dev:{amd64,arm64,armhf}
    printf "%s-dev:$1\n" libboost-context lib{fmt,mnl,pcap,seccomp,yaml-cpp}
}

# MakePackagesRoot ARCHITECTURE: where packages for that machine and static daemons for all are built; sets $packages_root.
MakePackagesRoot() {
    local wanted
    packages_root=build/roots/packages-$1
    mapfile -t wanted < <(PackagesRootHolds "$1")
    MakeRoot "$packages_root" amd64,arm64,armhf "${wanted[@]}"
}

# Removes a root, of which an ordinary user owns some by other numbers than his own.
RemoveRoot() {
    [ ! -e "$1" ] || WorldOfRoots rm -rf --one-file-system "$1"
}

# InRoot DIRECTORY COMMAND...: runs it there as root, below the project's own path, without network.
InRoot() {
    local directory=$1 project
    shift
    project=$(pwd)
    # shellcheck disable=SC2016  # the shell inside expands them
    WorldOfRoots --net bash -euc '
        root=$1 project=$2
        shift 2
        mount --bind "$root" "$root"
        mkdir -p "$root$project"
        mount --bind "$project" "$root$project"
        mount -t proc proc "$root/proc"
        mount --rbind /dev "$root/dev"
        cd "$root"
        pivot_root . . # unlike chroot, leaves it possible to make user namespaces inside
        exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 TERM="${TERM-dumb}" \
            bash -euc "umount -l /; cd \"\$0\"; exec \"\$@\"" "$project" "$@"' bash "$directory" "$project" "$@"
}

# Namespaces in which this user is root over all files of a root: WorldOfRoots [OPTION OF unshare...] COMMAND...
WorldOfRoots() {
    local world=(--mount --pid --ipc --fork --kill-child)
    [ "$(id -u)" -eq 0 ] || world=(--map-root-user --map-auto "${world[@]}")
    unshare "${world[@]}" "$@"
}
