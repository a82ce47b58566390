# shellcheck shell=bash
# What the client of the daemon and norvadctl say while the stream is reserved, and why it could not be before.

AskForPorts() {
    Ask -s "both ports have a link, and on both the neighbour is AS capable" \
        '^Port +0 +status: is Up, +STP status: Up, +AVB status: Up' \
        '^Port +1 +status: is Up, +STP status: Up, +AVB status: Up'
}

AskForStreams() {
    Ask -r "the talker comes from port 0 and is declared on port 1; the listener goes the other way round" \
        "^0 \[MSRP\] Talker: $stream: .* Registrar IN" "^1 \[MSRP\] Talker: $stream: .* Registrar MT" \
        '^1 \[MSRP\] Listener:020000000001:0001 decl:READY .* Registrar IN' \
        '^0 \[MSRP\] Listener:020000000001:0001 decl:READY .* Registrar MT'
}

AskForDomains() {
    Ask -o "SR class A has the number 6, and each neighbour declares the same priority and VLAN" \
        '^0 \[MSRP\] Domain:6 Pri3 VLAN2 .* Registrar IN' '^1 \[MSRP\] Domain:6 Pri3 VLAN2 .* Registrar IN'
}

AskForVlans() {
    Ask -v "the talker is in VLAN $vlan too, and the bridge declares that VLAN on port 1" \
        "^0 \[MVRP\] Vlan:$vlan .* Registrar IN" "^1 \[MVRP\] Vlan:$vlan .* Registrar MT"
}

AskForTime() {
    Ask -p "the grandmaster has gone, so the bridge is grandmaster now (MC is its own clock)" \
        "^ST:MASTER:MC:0x$bridge:LC:0x$bridge:SR:0:PD0:-?[0-9]+ns:PD1:-?[0-9]+ns:AD:"
}

AskForHelp() {
    Ask -h "the daemon may be asked all of this" '--msrp' '--mvrp' '--ptp' '--ports' '--debug'
}

# The grandmaster behind port 0 has gone.
AskWhyNotAsCapable() {
    Consult "explain port 0" "norvadctl tells why no stream may leave by port 0 now, and what to do" \
        '^link, port 0 +holds' '^AS capable, port 0 +missing' '^missing: AS capable, port 0$'
}

ConsultOnStream() {
    Consult "streams --stream $stream" "norvadctl has a row for each stream" \
        "^$stream  $destination  139264 ns  port 0  port 1 ready  port 1 "
    Consult "explain stream $stream" "and goes with it from the talker's link to the reservation" \
        '^talker, port 0 +holds' '^reservation, port 1 +holds' '^nothing is missing$'
}

ShowOperatorsView() {
    AskForPorts
    AskForStreams
    AskForDomains
    AskForVlans
    AskForTime
    AskForHelp
    ConsultOnStream
}
