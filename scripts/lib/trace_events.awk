# From the kernel's trace, a line for each event: nanoseconds, who ran, what happened, and to what.
#   enter poll, exit poll        a system call of the bridge's process
#   woken                        the bridge's process, by whom ran
#   sent eth0 0x88f7 58          a frame to an interface: EtherType, length
#   arrived eth0                 at the other end of a cable
#   entry                        whatever else is traced, by its name

BEGIN {
    split("7 poll 16 ioctl 44 sendto 45 recvfrom 46 sendmsg 47 recvmsg 230 nanosleep 286 timerfd_settime", names, " ")
    for (i = 1; i in names; i += 2) call[names[i]] = names[i + 1]
}

function Value(key) {
    return match($0, " " key "=[^ ]*") ? substr($0, RSTART + length(key) + 2, RLENGTH - length(key) - 2) : ""
}

function Name(number) {
    return (number in call) ? call[number] : "call-" number
}

function What() {
    if ($5 == "sys_enter:") return "enter " Name($7)
    if ($5 == "sys_exit:") return "exit " Name($7)
    if ($5 == "sched_waking:") return "woken"
    if ($5 == "net_dev_start_xmit:") return "sent " Value("dev") " " Value("protocol") " " Value("len")
    if ($5 == "netif_rx:") return "arrived " Value("dev")
    return substr($5, 1, length($5) - 1)
}

$2 ~ /^\[/ { printf "%.0f %s %s\n", $4, $1, What() }
