# From the log of the board: a line for each Sync after the last step of the clock.
#   seconds since the step, nanoseconds of offset, counts of steering

# HH:MM:SS.mmm, and with a colon before the milliseconds too.
function Seconds(time) {
    return substr(time, 1, 2) * 3600 + substr(time, 4, 2) * 60 + substr(time, 7, 2) + substr(time, 10, 3) / 1000
}

/ clock step / {
    stepped = 1
    start = Seconds($1)
    count = 0
}

/ clock steer / { steering = $NF }

/\[SW-PTP\] delta = -?[0-9]+ ns$/ && stepped {
    second = Seconds($1) - start
    if (second < 0) second += 86400 # past midnight
    line[count++] = sprintf("%.3f %d %d", second, $(NF - 1), steering)
}

END {
    for (i = 0; i < count; ++i) print line[i]
}
