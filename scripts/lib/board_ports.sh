# shellcheck shell=bash
# Chapter: cables and cards come and go under traffic.

ShowPorts() {
    End listener
    MarkLogs
    InNetwork listener ip link set eth0 down
    Ask -s "the cable of port 1 is pulled" '^Port +1 +status: is Down'
    Step driver board 'links 0x0e' "the driver has reported that port 0 alone has a link"
    ip link del port1
    Tell "$(Now)" driver "the card of port 1 is taken out, while the talker sends on"
    LayCable port1 listener
    Step link board 'port1: is port 1 of eth0' "another of the same name is port 1 again"
    End talker
    Ask -s "both have a link" '^Port +0 +status: is Up' '^Port +1 +status: is Up'
}
