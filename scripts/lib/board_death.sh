# shellcheck shell=bash
# Chapter: the daemon is killed while a stream flows.

# Frames that leave by port 1 in a second.
FramesInASecond() {
    local before
    before=$(Sent 1)
    sleep 1
    echo $(($(Sent 1) - before))
}

KillDaemon() {
    Kill daemon
    rm -f /dev/mqueue/norvad.mq # as the service does
    Tell "$(Now)" daemon "the daemon is killed with signal 9"
}

ShowTablesStay() {
    local frames
    MarkLogs
    kill -USR1 "${processes[listener]}"
    Step listener listener "withdraws listener $stream" "the listener leaves, and nobody hears it"
    sleep 3
    frames=$(FramesInASecond)
    [ "$frames" -ge $((rate / 2)) ] || Missing "the stream flows on without a daemon ($frames frames in a second)" kernel
    Tell "$(Now)" switch "the tables are as they were: $frames frames in a second still go to a station that wants none"
}

ShowFlush() {
    local frames table
    ip link set eth0 down
    for table in vlans multicasts limits; do
        [ -z "$(cat "$tables/$table")" ] || Missing "no $table are left: $(cat "$tables/$table")" kernel
    done
    Tell "$(Now)" driver "the switch's interface is taken down: no VLAN, no group address and no limit is left in its tables"
    frames=$(FramesInASecond)
    [ "$frames" -eq 0 ] || Missing "nothing leaves by port 1 any more ($frames frames in a second)" kernel
    Tell "$(Now)" switch "no more frames leave by port 1, though the talker sends on"
}

ShowRestart() {
    MarkLogs
    kill -USR2 "${processes[listener]}"
    StartDaemon
    Tell "$(Now)" daemon "the interface is taken up, and another daemon is started; the listener declares itself anew"
    Step driver board "multicast add port mask 0x02 vid 2 $destination" "it opens the stream's address on port 1 again"
    Step stream listener "receiving $stream (9[0-9]|1[01][0-9]) frames/s" "@1 frames/s arrive at the listener"
}

ShowDeath() {
    Reserve
    KillDaemon
    ShowTablesStay
    ShowFlush
    ShowRestart
}
