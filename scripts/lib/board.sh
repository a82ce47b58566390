# shellcheck shell=bash
# A board in software between two networks: the talker's on port 0, the listener's on port 1.

# MakeWorld DIRECTORY...: those are kept where they are below /tmp.
MakeWorld() {
    PrivateTemporaryDirectory "$@"
    mount -t proc proc /proc
    mkdir -p "$logs" "$networks" "$queues"
    mount -t mqueue mqueue "$queues"
    SilenceSystemLog
    NoAddresses
    ip link set lo up
    MakeNetwork talker
    MakeNetwork listener
    LayCable port0 talker
    LayCable port1 listener
}

# StartBoard OPTIONS...: further ones of the board. /tmp/norvad.pid names the daemon.
StartBoard() {
    Start board norvad3-virtual-switch --port0 port0 --port1 port1 --status-socket "$status_socket" \
        --cut-ptp-trailer 0 "$@" -- norvad3 -n -i eth0
    Gather
    Step board board 'daemon started process ([0-9]+)' \
        "a switch in software is up; the daemon norvad3 runs on it as process @1"
    # A daemon in the foreground leaves no note of itself, and without one a second start would not become its client.
    printf '%s' "$matched" >/tmp/norvad.pid
    Step link board 'port 0 link up' "port 0 of the switch has a link"
    Step link board 'port 1 link up' "port 1 of the switch has a link"
    InOrder
}

# Station NAME NETWORK OPTIONS...
Station() {
    local name=$1 network=$2
    shift 2
    Start "$name" nsenter --net="$networks/$network" \
        norvad3-end-station --interface eth0 --name "$name" "$@"
}
