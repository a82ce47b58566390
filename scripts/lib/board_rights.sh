# shellcheck shell=bash
# Chapter: whoever may open a socket may not program the switch for that.

ShowRights() {
    End daemon
    Tell "$(Now)" daemon "the daemon is told to end, and has ended with status 0"
    rm -f /tmp/norvad.pid
    ip link set eth0 down
    ip link set eth0 up
    Start powerless setpriv --bounding-set=-net_admin --inh-caps=-net_admin norvad3 -n -i eth0
    until [ -e "$queues/norvad.mq" ]; do
        CheckAlive
        sleep 0.1
    done
    Station member talker --vlan "$vlan" --no-pdelay
    Step rights powerless 'SWITCH_PORT_VLAN.*failed' "a daemon without CAP_NET_ADMIN hears of a VLAN, and the driver refuses it"
    [ -z "$(cat "$tables/vlans")" ] || Missing "the table of VLANs is empty" kernel
    Tell "$(Now)" driver "the table of VLANs stays empty"
    End member
    End powerless
}
