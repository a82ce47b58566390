# shellcheck shell=bash
# Chapter: peers that nobody here has written: the kernel's own MVRP, ptp4l, lldpd.

kernel_vlan=20
parameters=/sys/module/norvad3_switch/parameters

# Frames that the kernel's VLAN interface has received.
VlanFrames() {
    InNetwork talker ip -s -o link show "eth0.$kernel_vlan" |
        sed -n 's/.*RX: *bytes *packets[^\\]*\\ *[0-9]* *\([0-9]*\) .*/\1/p'
}

ShowKernelMvrp() {
    local frames
    Station sender listener --vlan-frames "$kernel_vlan" --rate "$rate" --no-pdelay
    Step sender sender "sends vlan $kernel_vlan" "a station on port 1 sends $rate frames/s to everybody in VLAN $kernel_vlan"
    MarkLogs
    InNetwork talker ip link add link eth0 name "eth0.$kernel_vlan" type vlan id "$kernel_vlan" mvrp on
    InNetwork talker ip link set "eth0.$kernel_vlan" up
    Tell "$(Now)" 8021q "behind port 0 the kernel makes an interface of VLAN $kernel_vlan, with \"mvrp on\""
    Gather
    Step driver board "vlan add port mask 0x01 vid $kernel_vlan" "the daemon makes port 0 a member in the switch"
    Step MVRP sender "vlan $kernel_vlan registered" "the kernel's declaration has crossed the bridge to port 1"
    InOrder
    sleep 1
    frames=$(VlanFrames)
    [ "${frames:-0}" -ge $((rate / 2)) ] || Missing "the kernel's VLAN interface receives frames (${frames:-none})" kernel
    Tell "$(Now)" 8021q "the kernel's VLAN interface has received $frames frames"
    MarkLogs
    InNetwork talker ip link set "eth0.$kernel_vlan" type vlan mvrp off
    Tell "$(Now)" 8021q "the kernel is told \"mvrp off\""
    Step driver board "vlan remove port mask 0x01 vid $kernel_vlan" "the daemon takes port 0 out of the VLAN"
    Step MVRP sender "vlan $kernel_vlan withdrawn" "and port 1 hears that nobody is in it any more"
    InNetwork talker ip link del "eth0.$kernel_vlan"
    End sender
}

ShowRefusal() {
    MarkLogs
    echo N >"$parameters/cut_trailer"
    StartGrandmaster
    Tell "$(Now)" ptp4l "ptp4l starts anew behind port 0; the bytes behind the bridge's messages are no longer cut"
    Step ptp4l ptp4l 'bad message' "ptp4l refuses the bridge's Pdelay_Resp_Follow_Up"
    sleep 5
    ! tail -n "+${marks[board]}" "$logs/board" | grep -q 'switching to state PTP_SLAVE' ||
        Missing "the bridge does not follow it" board
    Tell "$(Now)" gPTP "so it never finds the bridge AS capable, and the bridge has nobody to follow"
    End ptp4l
    echo Y >"$parameters/cut_trailer"
}

ShowLldp() {
    Ask "-d SOCKET 2" "the daemon is told to log what it takes from its sockets" '^OK$'
    MarkLogs
    Start lldpd nsenter --net="$networks/talker" lldpd -dd -I eth0 -u /run/lldpd.socket -L ''
    Step LLDP board '\[SW-LLDP\] Handle ' "lldpd behind port 0 sends a frame; the daemon takes it and drops it"
    End lldpd
    Ask "-d SOCKET 0" "the daemon is told to log no more of that" '^OK$'
}

ShowPeers() {
    ShowKernelMvrp
    ShowRefusal
    ShowLldp
}
