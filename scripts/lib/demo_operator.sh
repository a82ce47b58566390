# shellcheck shell=bash
# What the client of the daemon says while the stream is reserved.

AskForPorts() {
    Ask -s "the ports: both have a link, and on both the neighbour is AS capable" \
        '^Port +0 +status: is Up, +STP status: Up, +AVB status: Up' \
        '^Port +1 +status: is Up, +STP status: Up, +AVB status: Up'
}

AskForStreams() {
    Ask -r "streams: the talker comes from port 0 and is declared on port 1, the listener the other way round" \
        "^0 \[MSRP\] Talker: $stream: .* Registrar IN" "^1 \[MSRP\] Talker: $stream: .* Registrar MT" \
        '^1 \[MSRP\] Listener:020000000001:0001 decl:READY .* Registrar IN' \
        '^0 \[MSRP\] Listener:020000000001:0001 decl:READY .* Registrar MT'
}

AskForDomains() {
    Ask -o "SR classes: 6 is class A, and each neighbour declares the same priority and VLAN" \
        '^0 \[MSRP\] Domain:6 Pri3 VLAN2 .* Registrar IN' '^1 \[MSRP\] Domain:6 Pri3 VLAN2 .* Registrar IN'
}

AskForVlans() {
    Ask -v "VLANs: the talker is in VLAN $vlan too, and the bridge declares it on port 1" \
        "^0 \[MVRP\] Vlan:$vlan .* Registrar IN" "^1 \[MVRP\] Vlan:$vlan .* Registrar MT"
}

AskForTime() {
    Ask -p "time: the grandmaster has gone, so the bridge is it (MC: its own clock)" \
        "^ST:MASTER:MC:0x$bridge:LC:0x$bridge:SR:0:PD0:-?[0-9]+ns:PD1:-?[0-9]+ns:AD:"
}

AskForHelp() {
    Ask -h "and everything else that may be asked" '--msrp' '--mvrp' '--ptp' '--ports' '--debug'
}

ShowOperatorsView() {
    AskForPorts
    AskForStreams
    AskForDomains
    AskForVlans
    AskForTime
    AskForHelp
}
