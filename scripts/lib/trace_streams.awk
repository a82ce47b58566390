# From a trace, a line for each talker and each listener that a station declares: which of both, and nanoseconds from the
# station's frame until the bridge's declaration has arrived behind the other port, what of it remains without the waits
# for its turn, and until the driver made an entry (0 for a talker).
#   -v process=    the bridge's
#   -v stay=       stations that declare nothing new
# Talkers and listeners come in turns, each from a station of its own, whose first frame declares it.

BEGIN {
    split(stay, names, " ")
    for (i in names) seen[names[i]] = 1
}

{
    who = $2
    sub(/.*-/, "", who)
    ours = (who == process)
}

!ours && $3 == "sent" && $4 == "eth0" && $5 == "0x22ea" && !(who in seen) {
    seen[who] = 1
    side = (++stations % 2) ? "talker" : "listener"
    port = (side == "talker") ? "port1" : "port0"
    began = $1
    waiting_since = waited = entry = leaves = 0
}

!began { next }
ours && $3 == "enter" && $4 == "poll" { waiting_since = $1 }
ours && $3 == "exit" && $4 == "poll" && waiting_since { waited += $1 - waiting_since }
ours && $3 == "entry" { entry = $1 - began }
ours && $3 == "sent" && $4 == port && $5 == "0x22ea" { leaves = 1 }
ours && $3 == "arrived" && leaves {
    print side, $1 - began, $1 - began - waited, entry
    began = 0
}
