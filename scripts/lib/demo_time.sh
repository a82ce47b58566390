# shellcheck shell=bash
# Chapter: ptp4l is grandmaster behind port 0, and the bridge's clock, which is off and too fast, follows it (gPTP).

near=3000 # nanoseconds; that close is followed, if half of the last Syncs are
fewest=64 # Syncs to draw, 8 s
plot=${captures:-$build}/offset.svg

BringGrandmaster() {
    grandmaster=$(ClockIdentity InNetwork talker)
    bridge=$(ClockIdentity)
    StartGrandmaster
    Tell "$(Now)" board "its clock was 5 s ahead at the beginning and is 20 ppm too fast: 20 microseconds every second"
    Tell "$(Now)" ptp4l "ptp4l starts behind port 0, priority1 100 to the bridge's 250, clock identity 0x$grandmaster"
}

StartReader() {
    Start reader "$programs/norvad3-grandmaster-reader"
    Step reader reader 'reads (/gptp.mq)' "a program beside the daemon waits at the queue @1 for news of grandmasters"
    [ -e "$queues/gptp.mq" ] || Missing "the reader of grandmasters has made its queue" reader
}

StartListener() {
    Station listener listener --listen "$stream" --hold
    Step listener listener 'peer delay answered' "a station on port 1 answers peer delay requests"
}

ShowSelection() {
    Step gPTP board 'Port 0 IS AVB capable' "the daemon finds port 0 AS capable: ptp4l answers its peer delay requests"
    Step gPTP board 'Port 1 IS AVB capable' "and port 1: time and streams may leave there"
    Step gPTP board "Found a better clock announced from ClockIdentity 0x$grandmaster" \
        "ptp4l announces itself; it is the better clock"
    Step gPTP board 'switching to state PTP_(SLAVE)' "and follows it: state @1"
    Step reader reader "grandmaster 0x$grandmaster domain 0 fixed 200 path (0x$grandmaster 0x$bridge)" \
        "the queue brings 272 bytes: the new grandmaster, and the path from it to the bridge, @1"
    ShowGrandmasterFile
}

ShowGrandmasterFile() {
    local identity
    identity=$(od -A n -t x1 /tmp/ptp_grandmaster | tr -d ' \n')
    [ "$identity" = "$grandmaster" ] || Missing "/tmp/ptp_grandmaster has the grandmaster (it has \"$identity\")" board
    Tell "$(Now)" file "/tmp/ptp_grandmaster has its 8 bytes: $identity"
}

# A line for each Sync since the clock was stepped last: seconds from then, nanoseconds of offset, and by how many
# counts of 2^-38 of its frequency the clock is steered.
OffsetsOverTime() {
    awk -f "$project/scripts/lib/offsets.awk" "$logs/board"
}

# The middle one of the last 16 distances, those of 2 s; nothing before there are as many.
MiddleOffset() {
    OffsetsOverTime | tail -n 16 | awk '{ print ($2 < 0 ? -$2 : $2) }' | sort -n |
        awk 'NR == 9 { middle = $1 } END { if (NR == 16) print middle }'
}

TellOffset() {
    local sentence
    sentence=$(OffsetsOverTime | tail -n 1 | awk '{
        printf "%.1f s later it is %d ns off; frequency corrected by %+.3f ppm", $1, $2, $3 / 2 ^ 38 * 1e6 }')
    [ -z "$sentence" ] || Tell "$(Now)" servo "$sentence"
}

ShowConvergence() {
    local deadline=$((SECONDS + 31)) middle=
    Step driver board 'clock step (-?[0-9]+) ns' "the first Sync shows how far off the clock is: it is stepped by @1 ns"
    until [ -n "$middle" ] && [ "$middle" -le "$near" ] && [ "$(OffsetsOverTime | wc -l)" -ge "$fewest" ]; do
        [ "$SECONDS" -lt "$deadline" ] || Missing "the offset comes within $near ns (it is ${middle:-not known})" board
        CheckAlive
        sleep 1
        TellOffset
        middle=$(MiddleOffset)
    done
    Tell "$(Now)" servo "half of the last 16 Syncs were within $middle ns, and that with time stamps made in software"
}

ShowStatusLine() {
    local clock="0x$grandmaster" ns='-?[0-9]+ns' ratio='[^:]+'
    Ask -p "the same in the daemon's words:" \
        "^ST:SLAVE:MC:$clock:LC:$clock:SR:0:PD0:$ns:PD1:$ns:AD:$ns:RMS:.*:RR0:$ratio:RR1:$ratio:CRR:$ratio:w:0\$"
    ExplainStatusLine
}

# Tells each field of the answer.
ExplainStatusLine() {
    local field=() meaning=() i
    IFS=: read -ra field <<<"$answer"
    # In the line's order, where a name and its value are two fields.
    meaning=(
        "state of the bridge: it follows a grandmaster" "the grandmaster" "the neighbour that announced it"
        "steps from the grandmaster to that neighbour" "mean link delay of port 0" "mean link delay of port 1"
        "mean offset from the grandmaster" "root of the mean squared offset"
        "how much faster the neighbour on port 0 runs, as a ratio less 1" "and that on port 1"
        "and the grandmaster" "ratios are measured over the last second"
    )
    for i in "${!meaning[@]}"; do
        printf '%32s%-4s%-20s %s\n' '' "${field[2 * i]}" "${field[2 * i + 1]}" "${meaning[i]}"
    done
}

DrawPlot() {
    OffsetsOverTime >"$state/offsets"
    rm -f "$plot"
    if ! gnuplot -c "$project/scripts/lib/offset.gnuplot" "$state/offsets" "$plot" >"$logs/gnuplot" 2>&1 ||
        ! grep -q '</svg>' "$plot"; then
        Missing "gnuplot draws $plot" gnuplot
    fi
    Tell "$(Now)" plot "$(wc -l <"$state/offsets") Syncs drawn as offset over time: $plot"
}

EndGrandmaster() {
    MarkLogs
    End ptp4l
    Tell "$(Now)" ptp4l "ptp4l has ended"
    Step gPTP board 'Port (0) NOT AVB capable' "four seconds without an answer: port @1 is not AS capable any more"
    Step gPTP board 'No sync coming in' "nor does Sync come in: the bridge looks for another grandmaster"
}

ShowTime() {
    Ask "-d ptp 5" "gPTP shall log every Sync" '^OK$'
    MarkLogs
    StartReader
    BringGrandmaster
    StartListener
    ShowSelection
    ShowConvergence
    ShowStatusLine
    DrawPlot
    Ask "-d ptp 0" "that is enough logging" '^OK$'
    EndGrandmaster
}
