# shellcheck shell=bash
# Chapter: what a forwarded frame costs, beside the kernel's own bridge on the same interfaces. The guest's time follows
# its instructions, two nanoseconds each, so a burst that leaves no time to rest counts them.

flood_frames=20000
flood_size=200 # bytes
flood_stream=02:00:00:00:00:01:00:02
flood_destination=91:e0:f0:00:01:10
most_percent=120 # of what the kernel's bridge needs

# What the listener's interface has received.
Arrived() {
    InNetwork listener ip -s -o link show eth0 | sed -n 's/.*RX: *bytes *packets[^\\]*\\ *[0-9]* *\([0-9]*\) .*/\1/p'
}

# The kernel's packet generator in the talker's network.
PrepareBurst() {
    insmod "$modules/pktgen.ko"
    # shellcheck disable=SC2016  # the shell inside expands it
    InNetwork talker bash -euc '
        echo "add_device eth0" >/proc/net/pktgen/kpktgend_0
        for word in "$@"; do echo "$word" >/proc/net/pktgen/eth0; done' bash \
        "count $flood_frames" "pkt_size $flood_size" "delay 0" "dst_mac $flood_destination" "vlan_id 2" "vlan_p 3"
}

Burst() {
    InNetwork talker bash -c 'echo start >/proc/net/pktgen/pgctrl'
}

# Sets $instructions for each frame, the generator's own among them, and $arrived.
CountBurst() {
    local before taken
    before=$(Arrived)
    Burst
    taken=$(InNetwork talker sed -n 's/^Result: OK: \([0-9]*\)(.*/\1/p' /proc/net/pktgen/eth0)
    [ -n "$taken" ] || Missing "the packet generator sends" kernel
    instructions=$((taken * 500 / flood_frames))
    arrived=$(($(Arrived) - before))
}

# The reservation is as large as a link allows, so that the whole burst is within it. The stations die before it: nobody
# else is to look at its frames, and what they declared stands for some seconds more.
CountOurs() {
    MarkLogs
    Station flood talker --talk "$flood_stream" --destination "$flood_destination" --rate 1 --max-frame-size 1400 \
        --interval-frames 8
    Station sink listener --listen "$flood_stream"
    Step driver board "multicast add port mask 0x02 vid 2 $flood_destination" "a stream of 742 Mbit/s is reserved"
    Kill flood
    Kill sink
    CountBurst
    ours=$instructions
    [ "$arrived" -ge "$flood_frames" ] || Missing "the whole burst arrives ($arrived of $flood_frames frames)" kernel
    Tell "$(Now)" cost "a burst of $arrived frames has passed this switch"
}

CountBridge() {
    CountBurst
    nothing=$instructions
    [ "$arrived" -eq 0 ] || Missing "nothing passes without a switch ($arrived frames)" kernel
    ip link add bridge0 type bridge vlan_filtering 1 mcast_snooping 1 stp_state 0
    ip link set bridge0 up
    ip link set port0 master bridge0
    ip link set port1 master bridge0
    bridge vlan add dev port0 vid 2
    bridge vlan add dev port1 vid 2
    bridge mdb add dev bridge0 port port1 grp "$flood_destination" vid 2 permanent
    sleep 1
    CountBurst
    theirs=$instructions
    [ "$arrived" -ge "$flood_frames" ] || Missing "the bridge forwards the burst ($arrived of $flood_frames)" kernel
    ip link del bridge0
    Tell "$(Now)" cost "the same burst has passed the kernel's bridge, by its VLAN filter and an entry for the address"
}

Compare() {
    local percent=$(((ours - nothing) * 100 / (theirs - nothing)))
    Tell "$(Now)" cost "without a switch a frame takes $nothing instructions to be sent and dropped"
    Tell "$(Now)" cost "forwarded by this switch $ours, so $((ours - nothing)) for it; by the kernel's bridge $theirs, so $((theirs - nothing))"
    [ "$percent" -le "$most_percent" ] || Missing "it takes at most $most_percent % of the bridge's instructions ($percent %)" kernel
    Tell "$(Now)" cost "that is $percent % of what the kernel's bridge takes"
}
