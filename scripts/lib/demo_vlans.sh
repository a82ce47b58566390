# shellcheck shell=bash
# Chapter: a station asks for a VLAN (MVRP), gets its frames, and leaves.

vlan=10
rate=100 # frames per second that a station sends

# Frames that came in on PORT and were kept back because of REASON.
KeptBack() {
    norvad3-virtual-switch --status "$status_socket" |
        sed -n "s/^port $1 dropped \([0-9]*\) $2\$/\1/p"
}

# Waits until COUNT more frames than now are kept back, and sets $back to how many they were.
AwaitKeptBack() {
    local port=$1 reason=$2 count=$3 deadline=$((SECONDS + 16)) before
    before=$(KeptBack "$port" "$reason") || before=0
    back=0
    while [ "$back" -lt "$count" ]; do
        [ "$SECONDS" -lt "$deadline" ] || Missing "frames are kept back at port $port: $reason" board
        CheckAlive
        sleep 0.1
        back=$(KeptBack "$port" "$reason") || back=0 # a board that has ended is noticed above
        back=$((${back:-0} - ${before:-0}))
    done
}

StartVlanStations() {
    Station sender listener --vlan-frames "$vlan" --rate "$rate" --no-pdelay
    Step sender sender "sends vlan $vlan" "a station on port 1 sends $rate frames/s to everybody in VLAN $vlan"
    Station member talker --vlan "$vlan" --hold --no-pdelay
    AwaitKeptBack 1 'not a member' "$((rate / 2))"
    ! grep -q 'frames begin' "$logs/member" || Missing "no frame of VLAN $vlan reaches port 0 unasked" member board
    Tell "$(Now)" switch "$back of those frames have come in, and none has left: nobody is in VLAN $vlan"
}

JoinVlan() {
    MarkLogs
    Gather
    kill -USR2 "${processes[member]}"
    Step member member "declares vlan $vlan" "a station on port 0 declares VLAN $vlan"
    Step driver board "vlan add port mask 0x01 vid $vlan" \
        "the daemon registers it and makes port 0 a member in the switch"
    Step MVRP sender "vlan $vlan registered" "the declaration has crossed the bridge to port 1"
    Step VLAN member "vlan $vlan from .* frames begin (vid $vlan)" "the first frame reaches port 0, tagged @1"
    InOrder
    Step VLAN member "receiving vlan $vlan .* (9[0-9]|1[01][0-9]) frames/s" "@1 frames/s arrive at port 0"
}

LeaveVlan() {
    MarkLogs
    kill -USR1 "${processes[member]}"
    Step member member "withdraws vlan $vlan" "the station on port 0 leaves VLAN $vlan"
    Step driver board "vlan remove port mask 0x01 vid $vlan" "a second later the daemon takes port 0 out of it"
    Gather
    Step MVRP sender "vlan $vlan withdrawn" "port 1 hears that nobody is in VLAN $vlan any more"
    Step VLAN member "vlan $vlan from .* frames stopped" "no more frames arrive at port 0, though they are sent on"
    InOrder
}

ShowVlans() {
    StartVlanStations
    JoinVlan
    LeaveVlan
    End member
    End sender
    Tell "$(Now)" member "the member has ended, and the sender too; the member $(sed -n 's/.*: \(received .*\)/\1/p' "$logs/member")"
}
