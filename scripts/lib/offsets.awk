# From the log of the board, since the clock was stepped last, each line beginning with the seconds from then:
#   -v of=Syncs   a line for each Sync: nanoseconds of offset as the daemon measured it, counts of steering
#   -v of=truth   a line whenever the board told how far its clock is off: nanoseconds
# Both offsets are those of the grandmaster's clock from the board's: positive where the board's is behind.

# HH:MM:SS.mmm, and with a colon before the milliseconds too.
function Seconds(time) {
    return substr(time, 1, 2) * 3600 + substr(time, 4, 2) * 60 + substr(time, 7, 2) + substr(time, 10, 3) / 1000
}

function Keep(values) {
    second = Seconds($1) - start
    if (second < 0) second += 86400 # past midnight
    line[count++] = sprintf("%.3f %s", second, values)
}

/ clock step / {
    stepped = 1
    start = Seconds($1)
    count = 0
}

/ clock steer / { steering = $NF }

/\[SW-PTP\] delta = -?[0-9]+ ns$/ && stepped && of == "Syncs" { Keep($(NF - 1) " " steering + 0) }

/ board: clock off by -?[0-9]+ ns$/ && stepped && of == "truth" { Keep(-$(NF - 1)) }

END {
    for (i = 0; i < count; ++i) print line[i]
}
