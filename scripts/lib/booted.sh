# shellcheck shell=bash
# The board of the chapters, on a kernel that has the reference driver: what scripts/lib/board.sh is for a board in
# software. The chapters look into the log "board", which has what the daemon and the kernel say.

modules=/modules
tables=/sys/kernel/debug/norvad3_switch
pause=0.3 # each look costs a processor in software millions of instructions

LoadModules() {
    local name
    for name in llc stp garp mrp 8021q bridge veth; do
        [ ! -e "$modules/$name.ko" ] || insmod "$modules/$name.ko"
    done
}

# LoadSwitch PARAMETER...: the daemon's interface is eth0, and the driver says what it is asked for.
LoadSwitch() {
    insmod "$modules/norvad3_switch.ko" ports=port0,port1 cpu=eth0 dyndbg=+p "$@"
}

# Says a line as the board does, without another process for it.
Say() {
    local now=$EPOCHREALTIME
    printf '%(%H:%M:%S)T.%s board: %s\n' "${now%.*}" "${now:11:3}" "$1"
}

FollowKernel() {
    dmesg --follow-new --notime | while IFS= read -r line; do Say "$line"; done
}

# How far the switch's clock is ahead of the system's, again and again.
WatchClock() {
    local never clock
    exec {never}<> <(:)
    while ! read -r -t 0.25 -u "$never"; do
        read -r clock <"$tables/clock"
        [[ $clock =~ by\ (-?[0-9]+)\ ns ]]
        Say "clock off by ${BASH_REMATCH[1]} ns"
    done
}

StartDaemon() {
    ip link set eth0 up
    Start daemon norvad3 -n -i eth0
    until [ -e "$queues/norvad.mq" ]; do
        CheckAlive
        sleep 0.1
    done
    # A daemon in the foreground leaves no note of itself, and without one a second start would not become its client.
    # shellcheck disable=SC2154  # in observe.sh
    printf '%s' "${processes[daemon]}" >/tmp/norvad.pid
}

StartBoard() {
    Start kernel FollowKernel
    LoadSwitch "$@"
    touch "$logs/clock" "$logs/daemon"
    Start board tail -q -n +1 -F "$logs/daemon" "$logs/kernel" "$logs/clock"
    Start clock WatchClock
    StartDaemon
    Gather
    Tell "$(Now)" board "two interfaces are a switch; the daemon norvad3 runs on it as process ${processes[daemon]}"
    Step link kernel 'port0: is port 0 of eth0' "the first interface is its port 0"
    Step link kernel 'port1: is port 1 of eth0' "the second one is its port 1"
    InOrder
}

# Station NAME NETWORK OPTIONS...
Station() {
    local name=$1 network=$2
    shift 2
    Start "$name" nsenter --net="$networks/$network" norvad3-end-station --interface eth0 --name "$name" "$@"
}

# Ends NAME without a word.
Kill() {
    local process=${processes[$1]}
    unset "processes[$1]"
    kill -KILL "$process"
    wait "$process" 2>/dev/null || [ $? -eq 137 ] || Missing "the $1 is killed" "$1"
}

# Frames that came in on PORT and were kept back because of REASON.
KeptBack() {
    sed -n "s/^port $1 dropped \([0-9]*\) $2\$/\1/p" "$tables/ports"
}

# Frames that have left by PORT.
Sent() {
    sed -n "s/^port $1 .* sent \([0-9]*\) .*/\1/p" "$tables/ports"
}

# The plot is of the demonstration.
DrawPlot() {
    :
}
