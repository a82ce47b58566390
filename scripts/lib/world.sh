# shellcheck shell=bash
# A private world for the programs of the lab: a /tmp of its own, and networks joined by virtual cables.

# Where ptp4l and lldpd are; an ordinary user's path does not lead there.
PATH=$PATH:/usr/sbin:/sbin

# Keeps the directories named, where they are below /tmp, and hides everything else there.
PrivateTemporaryDirectory() {
    local directory descriptor
    local -A kept=()
    for directory in "$@"; do
        [[ $directory == /tmp/* ]] || continue
        exec {descriptor}<"$directory"
        kept[$directory]=$descriptor
    done
    mount -t tmpfs -o mode=1777 tmpfs /tmp
    for directory in "${!kept[@]}"; do
        descriptor=${kept[$directory]}
        mkdir -p "$directory"
        mount --no-canonicalize --rbind "/proc/self/fd/$descriptor" "$directory" # its name leads elsewhere by now
        exec {descriptor}<&-
    done
}

# What runs here is nothing for the machine's system log.
SilenceSystemLog() {
    local socket
    socket=$(readlink -f /dev/log) || return 0
    [ ! -S "$socket" ] || mount --bind /dev/null "$socket"
}

NoAddresses() {
    [ ! -e /proc/sys/net/ipv6 ] || echo 1 >/proc/sys/net/ipv6/conf/all/disable_ipv6
}

# A network namespace of the name, held by a file: $networks/NAME.
MakeNetwork() {
    touch "$networks/$1"
    unshare --net="$networks/$1" true
    InNetwork "$1" bash -c "$(declare -f NoAddresses); NoAddresses"
}

InNetwork() {
    local name=$1
    shift
    nsenter --net="$networks/$name" "$@"
}

# Joins interface $1 here to eth0 in network $2.
LayCable() {
    ip link add "$1" type veth peer name eth0 netns "$networks/$2"
    ip link set "$1" up
    InNetwork "$2" ip link set eth0 up
}
