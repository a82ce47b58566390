# shellcheck shell=bash
# Chapter: ptp4l is grandmaster behind port 0, and the bridge's clock, which is off and too fast, follows it (gPTP).

near=3000 # nanoseconds; that close is followed, if half of the last Syncs are
fewest=64 # Syncs to draw, 8 s
plot=${captures:-$plots}/offset.svg

BringGrandmaster() {
    grandmaster=$(ClockIdentity InNetwork talker)
    bridge=$(ClockIdentity)
    StartGrandmaster
    Tell "$(Now)" board "the switch's clock began 5 s ahead and is 20 ppm too fast: 20 microseconds every second"
    Tell "$(Now)" ptp4l "ptp4l starts behind port 0; its priority1 is 100, the bridge's 250; its clock is 0x$grandmaster"
}

StartReader() {
    Start reader norvad3-grandmaster-reader
    Step reader reader 'reads (/gptp.mq)' "a program beside the daemon waits at the queue @1 for news of grandmasters"
    [ -e "$queues/gptp.mq" ] || Missing "the reader of grandmasters has made its queue" reader
}

StartListener() {
    Station listener listener --listen "$stream" --hold
}

ShowNeighbours() {
    Gather
    Step listener listener 'peer delay answered' "a station on port 1 answers peer delay requests"
    Step gPTP board 'Port 0 IS AVB capable' "the daemon finds port 0 AS capable, as ptp4l answers its peer delay requests"
    Step gPTP board 'Port 1 IS AVB capable' "the daemon finds port 1 AS capable; time and streams may leave there"
    InOrder
}

ShowSelection() {
    Gather
    Step gPTP board "Found a better clock announced from ClockIdentity 0x$grandmaster" \
        "ptp4l announces itself, and the daemon finds that it is the better clock"
    Step gPTP board 'switching to state PTP_(SLAVE)' "the bridge follows it: its state is @1"
    Step reader reader "grandmaster 0x$grandmaster domain 0 fixed 200 path (0x$grandmaster 0x$bridge)" \
        "the queue brings 272 bytes: the new grandmaster, and the path from it to the bridge, @1"
    ShowGrandmasterFile
    Step driver board 'clock step (-?[0-9]+) ns' \
        "the first Sync shows how far off the clock is, and the daemon steps it by @1 ns"
    InOrder
}

ShowGrandmasterFile() {
    local identity
    identity=$(od -A n -t x1 /tmp/ptp_grandmaster | tr -d ' \n')
    [ "$identity" = "$grandmaster" ] || Missing "/tmp/ptp_grandmaster has the grandmaster (it has \"$identity\")" board
    Tell "$(Now)" file "/tmp/ptp_grandmaster has its 8 bytes: $identity"
}

# A line for each Sync since the clock was stepped last: seconds from then, nanoseconds of offset as the daemon measures
# it, and by how many counts of 2^-38 of its frequency the clock is steered.
OffsetsOverTime() {
    awk -v of=Syncs -f "$here/offsets.awk" "$logs/board"
}

# What the offset was in truth, by the switch, which has both clocks: seconds and nanoseconds.
TruthOverTime() {
    awk -v of=truth -f "$here/offsets.awk" "$logs/board"
}

# The middle one of the last 16 distances, those of 2 s; nothing before there are as many.
MiddleOffset() {
    OffsetsOverTime | tail -n 16 | awk '{ print ($2 < 0 ? -$2 : $2) }' | sort -n |
        awk 'NR == 9 { middle = $1 } END { if (NR == 16) print middle }'
}

TellOffset() {
    local sentence truth
    truth=$(TruthOverTime | tail -n 1)
    sentence=$(OffsetsOverTime | tail -n 1 | awk -v truth="${truth#* }" '{
        printf "after %.1f s the daemon measures an offset of %d ns (in truth it is %d ns) and steers by %+.3f ppm", \
            $1, $2, truth, $3 / 2 ^ 38 * 1e6 }')
    [ -z "$sentence" ] || Tell "$(Now)" servo "$sentence"
}

ShowConvergence() {
    local deadline=$((SECONDS + 31)) middle=
    until [ -n "$middle" ] && [ "$middle" -le "$near" ] && [ "$(OffsetsOverTime | wc -l)" -ge "$fewest" ]; do
        [ "$SECONDS" -lt "$deadline" ] || Missing "the offset comes within $near ns (it is ${middle:-not known})" board
        CheckAlive
        sleep 1
        TellOffset
        middle=$(MiddleOffset)
    done
    Tell "$(Now)" servo "half of the last 16 Syncs were within $middle ns, though the time stamps are made in software"
}

ShowStatusLine() {
    local clock="0x$grandmaster" ns='-?[0-9]+ns' ratio='[^:]+'
    Ask -p "the daemon says the same in its own words" \
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
        "how much faster the neighbour on port 0 runs, as a ratio less 1" "the same for port 1"
        "the same for the grandmaster" "ratios are measured over the last second"
    )
    for i in "${!meaning[@]}"; do
        printf '%32s%-4s%-20s %s\n' '' "${field[2 * i]}" "${field[2 * i + 1]}" "${meaning[i]}"
    done
}

DrawPlot() {
    OffsetsOverTime >"$state/offsets"
    TruthOverTime >"$state/truth"
    rm -f "$plot"
    if ! gnuplot -c "$here/offset.gnuplot" "$state/offsets" "$state/truth" "$plot" >"$logs/gnuplot" 2>&1 ||
        ! grep -q '</svg>' "$plot"; then
        Missing "gnuplot draws $plot" gnuplot
    fi
    Tell "$(Now)" plot "gnuplot has drawn the offset at $(wc -l <"$state/offsets") Syncs, and the true one: $plot"
}

EndGrandmaster() {
    MarkLogs
    End ptp4l
    Gather
    Tell "$(Now)" ptp4l "ptp4l has ended"
    Step gPTP board 'Port (0) NOT AVB capable' "port @1 is not AS capable any more: nobody has answered for four seconds"
    Step gPTP board 'No sync coming in' "no Sync comes in, so the bridge looks for another grandmaster"
    InOrder
}

ShowTime() {
    Ask "-d ptp 5" "the daemon is told to log every Sync" '^OK$'
    MarkLogs
    StartReader
    BringGrandmaster
    StartListener
    ShowNeighbours
    ShowSelection
    ShowConvergence
    ShowStatusLine
    DrawPlot
    Ask "-d ptp 0" "the daemon is told to log no more of that" '^OK$'
    EndGrandmaster
    AskWhyNotAsCapable
}
