# shellcheck shell=bash
# What happens to the bridge now and then: each trouble begins, and ends by itself, while the watch goes on.

RANDOM=4711 # the same order each time
trouble=    # the process that makes it, if one does

# Frames as a neighbour sends them, from the destination address on.
ptp_head='01 80 c2 00 00 0e 02 00 00 00 00 66 88 f7'
ptp_sender='02 00 00 ff fe 00 00 66 00 01'
mrp_sender='02 00 00 00 00 66'
declare -A frames=(
    [Pdelay_Req]="$ptp_head 12 02 00 36 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 $ptp_sender 00 01 05 00
        00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
    [Announce]="$ptp_head 1b 02 00 4c 00 00 00 08 00 00 00 00 00 00 00 00 00 00 00 00 $ptp_sender 00 01 05 00
        00 00 00 00 00 00 00 00 00 00 00 25 00 fe f8 fe 43 6a f8 02 00 00 ff fe 00 00 66 00 00 a0
        00 08 00 08 02 00 00 ff fe 00 00 66"
    [MSRP]="01 80 c2 00 00 0e $mrp_sender 22 ea 00 01 19 00 1e 00 01 02 00 00 00 00 66 00 01 91 e0 f0 00 66 00
        00 02 00 64 00 01 70 00 00 00 00 6c 00 00 00 00"
    [MVRP]="01 80 c2 00 00 21 $mrp_sender 88 f5 00 01 02 00 01 0f 00 6c 00 00 00 00"
    [unknown]="01 80 c2 00 00 0e $mrp_sender 88 b5 00 00"
)
floods=("${!frames[@]}")
sides=(talker listener)

TroubleGoesOn() {
    [ -n "$trouble" ] && kill -0 "$trouble" 2>/dev/null
}

# Frames shorter than an interface sends are filled up.
Padded() {
    local bytes
    read -ra bytes <<<"${1//$'\n'/ }"
    while [ ${#bytes[@]} -lt 60 ]; do bytes+=(00); done
    echo "${bytes[*]}"
}

# ptp4l hears what leaves by its own interface: a flood of Pdelay_Req from there it answers itself, request by request, and
# so falls behind with those of the bridge, which finds port 0 no longer AS capable meanwhile.
FloodWithFrames() {
    local kind=${floods[RANDOM % ${#floods[@]}]} side=${sides[RANDOM % 2]} rate=$((500 * (1 + RANDOM % 6))) time=$((5 + RANDOM % 6))
    Enter "flood of $kind"
    Tell "" trouble "$rate frames/s of $kind for $time s from the $side"
    InNetwork "$side" norvad3-frame-sender eth0 "$rate" "$time" "$(Padded "${frames[$kind]}")" \
        >>"$logs/floods" 2>&1 &
    trouble=$!
}

PullCable() {
    local side=${sides[RANDOM % 2]} time=$((1 + RANDOM % 10))
    Enter "cable of the $side"
    Tell "" trouble "the cable to the $side is out for $time s"
    InNetwork "$side" ip link set eth0 down
    (
        sleep "$time"
        InNetwork "$side" ip link set eth0 up
    ) &
    trouble=$!
}

RestartGrandmaster() {
    local process=${processes[ptp4l]}
    Enter "grandmaster restarts"
    Tell "" trouble "ptp4l ends, and another begins 8 s later"
    unset 'processes[ptp4l]'
    kill -TERM "$process"
    wait "$process" || true
    sleep 8 &
    trouble=$!
    WatchUntil $((SECONDS + 9))
    cat "$logs/ptp4l" >>"$logs/ptp4l.before"
    StartGrandmaster
}

# Listeners and VLANs of a station leave and come back.
LeaveAndReturn() {
    local side=${sides[RANDOM % 2]} time=$((3 + RANDOM % 10))
    Enter "declarations of the $side"
    Tell "" trouble "the $side withdraws its listeners and VLANs for $time s"
    kill -USR1 "${processes[$side]}"
    (
        sleep "$time"
        kill -USR2 "${processes[$side]}"
    ) &
    trouble=$!
}

# Nobody may notice these but the clients themselves.
RushOfClients() {
    Enter "rush of clients"
    Tell "" trouble "200 clients ask one after another"
    (
        for _ in $(seq 50); do
            for option in -r -p -v -h; do Answer "$option" >/dev/null; done
        done
    ) &
    trouble=$!
}

MakeTrouble() {
    case $((RANDOM % 10)) in
        0 | 1 | 2 | 3) FloodWithFrames ;;
        4 | 5) PullCable ;;
        6) RestartGrandmaster ;;
        7) LeaveAndReturn ;;
        *) RushOfClients ;;
    esac
}
