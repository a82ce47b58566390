# shellcheck shell=bash
# Where time goes, by the kernel's own tracing: what the bridge's process asks of the system, when it is woken, and which
# frames pass the cables. The processor's counter is the clock, which here counts nanoseconds.
#
# To record an event takes time. So all is done twice: recorded in one buffer, and in two. What the second buffer adds is
# what the first one took, and is taken off.

tracing=/sys/kernel/tracing
kilobytes=16384 # of a buffer

# TraceEvent BUFFER EVENT FILTER
TraceEvent() {
    echo "$3" >"$1/events/$2/filter"
    echo 1 >"$1/events/$2/enable"
}

# StartTrace BUFFERS PROCESS EVENT...: events of the process and of the cables, and further ones
StartTrace() {
    local buffers=$1 process=$2 number buffer event
    shift 2
    for ((number = 1; number <= buffers; ++number)); do
        buffer=$tracing/instances/$number
        mkdir "$buffer"
        echo x86-tsc >"$buffer/trace_clock"
        echo "$kilobytes" >"$buffer/buffer_size_kb"
        TraceEvent "$buffer" raw_syscalls/sys_enter "common_pid == $process"
        TraceEvent "$buffer" raw_syscalls/sys_exit "common_pid == $process"
        TraceEvent "$buffer" sched/sched_waking "pid == $process"
        TraceEvent "$buffer" net/net_dev_start_xmit "protocol == 0x88f7 || protocol == 0x22ea || protocol == 0xdada"
        TraceEvent "$buffer" net/netif_rx "len < 200"
        for event in "$@"; do TraceEvent "$buffer" "$event" 0; done
    done
}

# StopTrace NAME: leaves a line for each event in $state/NAME.trace.
StopTrace() {
    local buffer
    for buffer in "$tracing"/instances/*; do echo 0 >"$buffer/tracing_on"; done
    awk -f "$here/trace_events.awk" "$tracing/instances/1/trace" >"$state/$1.trace"
    for buffer in "$tracing"/instances/*; do
        echo 0 >"$buffer/events/enable"
        rmdir "$buffer"
    done
}

# WithoutTracing FILE FILE: numbers taken with one buffer and with two, a line each, with words behind them.
WithoutTracing() {
    paste -d ' ' "$1" "$2" | awk '{
        if (NF % 2 || $2 != $(NF / 2 + 2)) exit 1
        one = $1
        two = $(NF / 2 + 1)
        $1 = ""
        NF /= 2
        printf "%.1f us%s\n", (2 * one - two) / 1000, $0
    }'
}
