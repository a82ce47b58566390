# shellcheck shell=bash
# What the first process of the guest begins and ends with.

export PATH=/bin:/sbin:/build/bin LC_ALL=C
# shellcheck disable=SC2034  # for the parts
here=/project/scripts/lib captures='' plots=/tmp
state=/tmp/norvad3-board
logs=$state/log
networks=$state/net
queues=/dev/mqueue

# The first process may not end before the guest does.
EndGuest() {
    EndAll
    echo o >/proc/sysrq-trigger
    sleep 10
}

# Two networks with a cable each, which end here as port0 and port1.
MakeGuest() {
    trap 'EndGuest' EXIT
    mount -t proc proc /proc
    mount -t sysfs sysfs /sys
    mount -t devtmpfs devtmpfs /dev
    ln -s /proc/self/fd /dev/fd
    mkdir -p "$logs" "$networks" "$queues"
    mount -t mqueue mqueue "$queues"
    mount -t debugfs debugfs /sys/kernel/debug
    NoAddresses
    ip link set lo up
    LoadModules
    MakeNetwork talker
    MakeNetwork listener
    LayCable port0 talker
    LayCable port1 listener
}
