# shellcheck shell=bash
# Programs that run beside the script, and what can be seen of them: each writes one event a line, with its time in
# front, into $logs/NAME. What was waited for and did not come ends the script.

declare -A processes=() # by name, those that should be running
declare -A marks=()     # by name, the first line that steps look at
pause=0.05               # seconds between two looks into a log
gathering=no gathered=() # lines that are not told yet
bold='' plain='' red=''
if [ -t 1 ]; then
    bold=$'\e[1m' plain=$'\e[0m' red=$'\e[31m'
fi

# Start NAME COMMAND...
Start() {
    local name=$1
    shift
    : >"$logs/$name" # there before the program is, for those who look
    marks[$name]=1
    "$@" >"$logs/$name" 2>&1 &
    processes[$name]=$!
}

Tail() {
    echo "--- the end of what the $1 said"
    sed '/ clock off by /d; s/^/    /' "$logs/$1" | tail -n 15
}

# Tells what went wrong, with the logs named behind, or all of them.
Missing() {
    local what=$1 name
    shift
    InOrder
    echo
    echo "${red}NOT SEEN:${plain} $what"
    [ $# -gt 0 ] || set -- "${!processes[@]}"
    for name in "$@"; do Tail "$name"; done
    exit 1
}

# Every program that should be running does.
CheckAlive() {
    local name status
    for name in "${!processes[@]}"; do
        kill -0 "${processes[$name]}" 2>/dev/null && continue
        status=0
        wait "${processes[$name]}" || status=$?
        unset "processes[$name]"
        Missing "the $name goes on running; it has ended with status $status$(WhyEnded "$name" $status)" "$name"
    done
}

WhyEnded() {
    if [ "$2" -gt 128 ]; then printf ' (signal %s)' "$(kill -l $(($2 - 128)))"; fi
    if grep -q 'daemon ended' "$logs/$1"; then printf ', because the daemon on it has'; fi
}

# The first line of NAME's log from line FROM on that matches, waited for so many seconds; 1 when it did not come.
Await() {
    local name=$1 from=$2 pattern=$3 deadline=$((SECONDS + $4 + 1))
    while [ "$SECONDS" -lt "$deadline" ]; do
        if seen=$(tail -n "+$from" "$logs/$name" | grep -m 1 -E -- "$pattern"); then return 0; fi
        CheckAlive
        sleep "$pause"
    done
    return 1
}

Chapter() {
    printf '\n%s%s%s\n' "$bold" "$1" "$plain"
}

Now() {
    date +%H:%M:%S.%3N
}

# How a line's event is told: its time, or this moment where it has none, a word for its subject, and a sentence.
Tell() {
    local time=${1:0:12} line
    [[ $time =~ ^[0-9:.]{12}$ ]] || time=$(Now)
    printf -v line '%s  %s%-12s%s %s' "${time:0:8}.${time:9:3}" "$bold" "$2" "$plain" "$3"
    if [ "$gathering" = yes ]; then gathered+=("$line"); else echo "$line"; fi
}

# What is told between Gather and InOrder comes in the order of its times: it happens at several programs, and may be
# waited for in another order.
Gather() {
    gathering=yes
}

InOrder() {
    [ ${#gathered[@]} -eq 0 ] || printf '%s\n' "${gathered[@]}" | sort --stable --key=1,1
    gathering=no gathered=()
}

# Step SUBJECT NAME PATTERN SENTENCE: waits for the pattern in the log of NAME and tells it. Of the sentence, @1 is
# what the pattern's first pair of parentheses matched. The times told are those of the lines.
Step() {
    Await "$2" "${marks[$2]:-1}" "$3" 15 || Missing "$4 (in 15 s no line of the $2 matched \"$3\")" "$2" board
    [[ $seen =~ $3 ]]
    matched=${BASH_REMATCH[1]-}
    Tell "$seen" "$1" "${4//@1/$matched}"
}

# Steps look only at lines that come after this.
MarkLogs() {
    local name
    for name in "${!processes[@]}"; do marks[$name]=$(($(wc -l <"$logs/$name") + 1)); done
}

# Ends NAME in good order and checks that it ended with 0.
End() {
    local name=$1 process=${processes[$1]} status=0
    unset "processes[$name]"
    kill -TERM "$process"
    wait "$process" || status=$?
    [ "$status" -eq 0 ] || Missing "the $name ends with status 0 (it was $status)" "$name"
}

# For the way out: what still runs is told to end, and not waited for longer than 3 s.
EndAll() {
    local name deadline=$((SECONDS + 3))
    for name in "${!processes[@]}"; do kill -TERM "${processes[$name]}" 2>/dev/null || true; done
    for name in "${!processes[@]}"; do
        while kill -0 "${processes[$name]}" 2>/dev/null && [ "$SECONDS" -lt "$deadline" ]; do sleep 0.05; done
        kill -KILL "${processes[$name]}" 2>/dev/null || true
    done
}
