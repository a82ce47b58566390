# shellcheck shell=bash
# A talker and a listener, wire to wire: from the station's frame that declares them until the bridge's is on the other
# cable, and until the driver has made the entry for the stream's address.

rounds=30

# Each round is another stream's, and begins when the one before has been forgotten; its moments are others of the
# bridge's timers.
ReserveInTurn() {
    local round stream
    for ((round = 1; round <= rounds; ++round)); do
        printf -v stream '02:00:00:00:00:01:01:%02x' "$round"
        Station new-talker talker --talk "$stream" --rate 1 --no-pdelay
        sleep "1.$((round * 389 % 900 + 100))"
        Station new-listener listener --listen "$stream" --no-pdelay
        sleep "1.$((round * 577 % 900 + 100))"
        End new-listener
        End new-talker
        sleep "1.$((round * 719 % 900 + 100))"
    done
}

# Column SIDE NUMBER: medians with one buffer and with two, and the largest with one
Column() {
    local buffers
    for buffers in 1 2; do
        awk -v side="$1" -v column="$2" '$1 == side { print $column }' "$state/streams-$buffers" | sort -n |
            awk '{ v[NR] = $1 } END { if (NR < 20) exit 1; print v[int((NR + 1) / 2)], v[NR] }'
    done
}

# TellColumn WHAT SIDE NUMBER
TellColumn() {
    Column "$2" "$3" | awk -v what="$1" '{ median[NR] = $1; most[NR] = $2 } END {
        if (NR < 2) exit 1
        printf "norvad3: %-44s median %.1f most %.1f us\n", what, (2 * median[1] - median[2]) / 1000, most[1] / 1000
    }' || Missing "$1"
}

# MeasureStreams PROCESS: the stations near and listener stay, so that both ports are AS capable.
MeasureStreams() {
    local buffers
    Station near talker
    sleep 8
    echo 'p:entry sw_group_set' >"$tracing/kprobe_events" # by which the driver makes an entry
    for buffers in 1 2; do
        StartTrace "$buffers" "$1" kprobes/entry
        ReserveInTurn
        StopTrace "streams-$buffers"
        awk -v process="$1" -v stay="${processes[near]} ${processes[listener]}" -f "$here/trace_streams.awk" \
            "$state/streams-$buffers.trace" >"$state/streams-$buffers"
    done
    echo >"$tracing/kprobe_events"
    End near
    TellColumn "talker, until declared to the other port" talker 2
    TellColumn "  of it without the waits for its turn" talker 3
    TellColumn "listener, until the driver has the entry" listener 4
    TellColumn "listener, until declared to the talker" listener 2
    TellColumn "  of it without the waits for its turn" listener 3
}
