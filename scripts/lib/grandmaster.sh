# shellcheck shell=bash
# ptp4l as grandmaster behind port 0.

# ptp4l with the values of its gPTP profile. It tells the time of this machine and never touches it. The link delay is
# that of software stamps, and a transmit stamp may take its time on a busy machine.
WriteGrandmasterConfiguration() {
    cat >"$state/ptp4l.cfg" <<TEXT
[global]
free_running 1
time_stamping software
uds_address $state/ptp4l
use_syslog 0
verbose 1
priority1 100
priority2 248
gmCapable 1
transportSpecific 0x1
network_transport L2
delay_mechanism P2P
ptp_dst_mac 01:80:C2:00:00:0E
logAnnounceInterval 0
logSyncInterval -3
assume_two_step 1
path_trace_enabled 1
follow_up_info 1
neighborPropDelayThresh 20000000
min_neighbor_prop_delay -20000000
tx_timestamp_timeout 1000
fault_reset_interval ASAP
TEXT
}

# The clock identity of eth0; the arguments are the command that enters its network, if it is another.
ClockIdentity() {
    local address
    address=$("$@" ip -o link show eth0 | sed 's/.*link\/ether \([^ ]*\).*/\1/; s/://g')
    echo "${address:0:6}fffe${address:6}"
}

# What free_running promises, the missing capability makes sure of: nobody sets this machine's clock.
StartGrandmaster() {
    WriteGrandmasterConfiguration
    Start ptp4l nsenter --net="$networks/talker" setpriv --bounding-set=-sys_time --inh-caps=-sys_time \
        stdbuf -oL ptp4l -f "$state/ptp4l.cfg" -i eth0
}
