# shellcheck shell=bash
# Chapter: a stream is advertised, kept back, reserved, received and released (MSRP).

stream=02:00:00:00:00:01:00:01
destination=91:e0:f0:00:01:00
domain='domain class 6 priority 3 vid 2'

# The listener is there from the chapter before.
StartTalker() {
    MarkLogs
    Gather
    Station talker talker --talk "$stream" --destination "$destination" --rate "$rate" --eager --vlan "$vlan"
    Step talker talker "declares talker $stream" "the talker advertises stream $stream to $destination"
    Step talker talker "sends $stream" \
        "a talker on port 0 sends $rate frames/s at once, which is impolite, so that the bridge has to keep them back"
    Step domain talker "$domain registered" \
        "the bridge declares its SR class A (priority 3, VLAN 2) to the talker, as it has to the listener"
    Step MSRP listener "talker $stream registered latency 139264 ns" \
        "the advertisement has crossed the bridge to the listener, with 139264 ns more latency"
    InOrder
    Step gPTP board 'Port 0 IS AVB capable' "the daemon finds port 0 AS capable again"
}

FramesReachedListener() {
    grep -q -E 'frames begin|unexpected stream frame' "$logs/listener"
}

ShowNothingPasses() {
    AwaitKeptBack 0 'no reservation' "$rate"
    ! FramesReachedListener || Missing "no frame reaches the listener before the reservation" listener board
    Tell "$(Now)" stream "$back frames have come in on port 0, and none has reached the listener: nothing is reserved"
}

Reserve() {
    MarkLogs
    Gather
    kill -USR2 "${processes[listener]}"
    Step listener listener "declares listener $stream ready" "now the listener declares that it is ready"
    Step driver board 'egress limit port 1 parameter 2 limit (1200000)$' \
        "the daemon asks the switch driver for @1 bytes/s on port 1, VLAN 2"
    Step driver board "multicast add port mask 0x02 vid 2 $destination" \
        "the daemon opens the stream's address $destination on port 1"
    Step stream listener "$stream frames begin (vid 2 priority 3)" "the first frame reaches the listener, tagged @1"
    Step MSRP talker "listener $stream ready" "the listener's declaration has crossed the bridge to the talker"
    InOrder
    Step stream listener "receiving $stream (9[0-9]|1[01][0-9]) frames/s" "@1 frames/s arrive at the listener"
}

Release() {
    MarkLogs
    kill -USR1 "${processes[listener]}"
    Step listener listener "withdraws listener $stream" "the listener leaves"
    Step driver board "multicast remove port mask 0x02 vid 2 $destination" \
        "a second later the daemon closes the address on port 1"
    Step driver board 'egress limit port 1 parameter 2 limit 0$' "the daemon gives the bandwidth back"
    Gather
    Step MSRP talker "listener $stream withdrawn" "the talker hears that nobody listens any more"
    Step stream listener "$stream frames stopped" "no more frames reach the listener, though the talker sends on"
    InOrder
}

ShowStreams() {
    StartTalker
    ShowNothingPasses
    Reserve
    ShowOperatorsView
    Release
}
