# From a trace, the parts of the time from a frame on the talker's cable until the bridge's on a cable: for each part the
# median in nanoseconds, and what ends it.
#   -v process=    the bridge's
#   -v size=       bytes of the frames that come in from eth0
#   -v port=       by which what is made of them leaves
# Frames that met a bridge busy with something else go other ways, and are left out.

function Median(column,   i, j, value, values) {
    for (i = 1; i <= count[usual]; ++i) {
        value = part[usual, i, column]
        for (j = i - 1; j > 0 && values[j] > value; --j) values[j + 1] = values[j]
        values[j + 1] = value
    }
    return values[int((count[usual] + 1) / 2)]
}

{ ours = ($2 ~ "-" process "$") }

!ours && $3 == "sent" && $4 == "eth0" && $5 == "0x88f7" && $6 == size {
    under_way = 1
    parts = 0
    way = ""
    out = ""
    before = $1
    next
}

under_way {
    time[++parts] = $1 - before
    before = $1
    way = way "," $3 " " $4
    if (ours && $3 == "sent") out = $4
}

under_way && ours && $3 == "arrived" {
    under_way = 0
    if (out != port) next
    ++count[way]
    for (i = 1; i <= parts; ++i) part[way, count[way], i] = time[i]
}

END {
    for (way in count) if (count[way] > count[usual]) usual = way
    parts = split(usual, names, ",") - 1
    for (i = 1; i <= parts; ++i) print Median(i), "until", names[i + 1]
}
