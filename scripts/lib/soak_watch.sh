# shellcheck shell=bash
# What is looked at once a second, and what is said of it at the end. A second belongs to "quiet" from when all has been
# whole for a while after a trouble until the next one begins, and to the trouble before that.

wanted_streams=8
a_while=10 # seconds; the last consequence of a trouble, the loss of AS capability, comes within 5
daemon=
phase=start
declare -A seconds=() whole=() longest=() times=()
unanswered=0 lost=() phase_began=$SECONDS whole_since=

# The streams that the daemon has let through, as the driver was told.
ReservedStreams() {
    norvad3-virtual-switch --status "$status_socket" |
        grep -c -E 'vid 2 address 91:e0:f0:00:0[12]:0[0-5] port mask 0x0[12]'
}

# What a client is told; nothing when the daemon did not answer within the client's 10 ms.
Answer() {
    norvad3 "$1" 2>>"$logs/client" || true
}

# Sets $ports to how many of the two are AS capable, empty without an answer.
AskForCapability() {
    local said
    said=$(Answer -s)
    ports=
    if [ -n "$said" ]; then ports=$(grep -c 'AVB status: Up' <<<"$said" || true); fi
}

# Enter PHASE: what is seen from here on belongs to it.
Enter() {
    phase=$1 phase_began=$SECONDS whole_since=
    times[$phase]=$((${times[$phase]:-0} + 1))
}

# After a trouble: whether it is over and all has been whole for a while.
LookForQuiet() {
    local took
    if TroubleGoesOn; then
        whole_since=
        return
    fi
    whole_since=${whole_since:-$SECONDS}
    [ $((SECONDS - whole_since)) -ge "$a_while" ] || return 0
    took=$((whole_since - phase_began))
    [ "$took" -le "${longest[$phase]:-0}" ] || longest[$phase]=$took
    Enter quiet
}

Look() {
    local streams
    streams=$(ReservedStreams) || streams=${streams:-0}
    AskForCapability
    [ -n "$ports" ] || unanswered=$((unanswered + 1))
    seconds[$phase]=$((${seconds[$phase]:-0} + 1))
    if [ "$streams" -eq "$wanted_streams" ] && [ "${ports:-2}" -eq 2 ]; then
        whole[$phase]=$((${whole[$phase]:-0} + 1))
        [ "$phase" = quiet ] || LookForQuiet
        return
    fi
    whole_since=
    local seen="$streams streams reserved, ${ports:-unknown} ports AS capable"
    echo "$(Now) $phase: $seen" >>"$logs/not_whole"
    [ "$phase" = quiet ] || return 0
    lost+=("$seen")
    Tell "" LOST "$seen"
}

# WatchUntil SECOND: once a second. Where the machine has held up this script for more than two seconds it has held up the
# daemon and its peers as well, and what comes of that is no loss of theirs.
WatchUntil() {
    local looked
    while [ "$SECONDS" -lt "$1" ]; do
        looked=$SECONDS
        CheckAlive
        Look
        sleep 1
        if [ $((SECONDS - looked)) -gt 3 ] && [ "$phase" = quiet ]; then Enter "machine held up"; fi
    done
}

ResidentKb() {
    awk '/^VmRSS/ { print $2 }' "/proc/$daemon/status"
}

# All that the daemon shows of what is registered, declared and reserved, by port and sorted: lists keep the order of
# arrival. Fails when an answer is missing.
Report() {
    local option said
    for option in -s -r -o -v; do
        said=$(Answer "$option")
        [ -n "$said" ] || return 1
        awk '/^Port [0-9]+$/ { port = $2 " "; next } { print port $0 }' <<<"$said" | sort
    done
    norvad3-virtual-switch --status "$status_socket" |
        sed -n -E 's/^(vid .* port mask 0x[0-9a-f]+).*/\1/p; s/^(port . parameter . limit [0-9]+).*/\1/p'
}

# What is reported most of the time; now and then a LeaveAll is under way.
RememberBeginning() {
    local best=0 count file
    mkdir -p "$logs/reports"
    for _ in $(seq 40); do
        Report >"$state/report" || continue
        file=$logs/reports/$(md5sum <"$state/report" | cut -c1-8)
        cp "$state/report" "$file"
        echo >>"$file.seen"
        sleep 0.3
    done
    for file in "$logs"/reports/*.seen; do
        count=$(wc -l <"$file")
        [ "$count" -gt "$best" ] || continue
        best=$count
        cp "${file%.seen}" "$logs/report.begin"
    done
    rm -r "$logs/reports"
    rss_begin=$(ResidentKb)
    Tell "" daemon "$(wc -l <"$logs/report.begin") lines of state, $rss_begin kB resident"
}

# Whether the state of the beginning is shown again within two minutes.
ReportIsAsAtFirst() {
    local deadline=$((SECONDS + 120))
    while [ "$SECONDS" -lt "$deadline" ]; do
        if Report >"$logs/report.end" && cmp -s "$logs/report.begin" "$logs/report.end"; then return 0; fi
        sleep 0.3
    done
    return 1
}

PrintTable() {
    local name
    printf '\n%-28s %6s %8s %8s %22s\n' phase times seconds whole 'longest until whole, s'
    for name in "${!seconds[@]}"; do
        printf '%-28s %6s %8s %8s %22s\n' "$name" "${times[$name]:-1}" "${seconds[$name]}" "${whole[$name]:-0}" \
            "${longest[$name]:-}"
    done | sort
}

# Check SENTENCE COMMAND...
failures=0
Check() {
    local sentence=$1
    shift
    if "$@"; then
        printf 'yes  %s\n' "$sentence"
    else
        printf 'NO   %s\n' "$sentence"
        failures=$((failures + 1))
    fi
}

Judge() {
    local rss_end
    PrintTable
    rss_end=$(ResidentKb) || rss_end=999999999
    printf '\nseconds without an answer to a client: %d; of the daemon on the machine: %s\n\n' "$unanswered" \
        "$(grep -c 'NORVAD TIMER' "$logs/board" || true) times late by more than 50 ms"
    Check "the daemon that was started still lives (process $daemon)" kill -0 "$daemon"
    Check "all was whole when it ended" test "$phase" = quiet
    Check "no stream and no AS capability was lost between the troubles (${#lost[@]} times)" test "${#lost[@]}" -eq 0
    Check "$rss_begin kB were resident after two minutes, $rss_end kB at the end" test "$rss_end" -le $((rss_begin + 2048))
    Check "the reports are those of the beginning" ReportIsAsAtFirst
    [ "$failures" -eq 0 ] || exit 1
    echo
    echo "soak: all was well"
}
