# shellcheck shell=bash
# The parts of the time that a Sync and a Pdelay_Req take, and what the bridge's process asks of the system.

traced=16 # seconds

# PartsOf WHAT LENGTH PORT: of the talker's frames of so many bytes, until what is made of them leaves by a port
PartsOf() {
    local buffers
    for buffers in 1 2; do
        awk -v process="$process" -v size="$2" -v port="$3" -f "$here/trace_parts.awk" \
            "$state/parts-$buffers.trace" >"$state/parts-$buffers"
    done
    echo "$name: parts of the time from $1"
    WithoutTracing "$state/parts-1" "$state/parts-2" || Missing "$name: $1 goes the same way twice"
}

# System calls in a second.
Calls() {
    awk -v name="$name" -v seconds="$traced" '
        $3 == "enter" { ++calls[$4] }
        $3 == "enter" && $4 == "poll" && polled { ++idle }
        $3 == "enter" { polled = 0 }
        $3 == "exit" && $4 == "poll" { polled = 1 }
        END {
            printf "%s: in a second", name
            for (call in calls) printf " %s %.1f,", call, calls[call] / seconds
            printf " poll after poll %.1f\n", idle / seconds
        }' "$state/parts-1.trace"
}

# MeasureParts NAME PROCESS
MeasureParts() {
    local name=$1 process=$2 buffers
    for buffers in 1 2; do
        StartTrace "$buffers" "$process"
        sleep "$traced"
        CheckAlive
        StopTrace "parts-$buffers"
    done
    PartsOf "Sync in to Sync out" 58 port1
    PartsOf "Pdelay_Req to Pdelay_Resp" 68 port0
    Calls
}
