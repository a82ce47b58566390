# shellcheck shell=bash
# The running daemon asked as an operator asks it: a second start of the same program, with options.

# The answer's lines, with the port in front of those that stand below "Port N".
LinesByPort() {
    awk '/^Port [0-9]+$/ { port = $2 " "; next } { print port $0 }' <<<"$answer"
}

# AnswerHas OPTIONS PATTERN...: asks once; true when each pattern finds a line. What the client has to complain of is
# in a log.
AnswerHas() {
    local words pattern
    read -ra words <<<"$1"
    shift
    answer=$(norvad3 "${words[@]}" 2>>"$logs/client") || return 1
    for pattern in "$@"; do
        LinesByPort | grep -q -E -- "$pattern" || return 1
    done
}

# Ask OPTIONS SENTENCE PATTERN...: tells and types the command and shows its answer. A client waits for 10 ms only and
# then prints nothing, which happens on a busy machine: it is typed again.
Ask() {
    local options=$1 sentence=$2 deadline=$((SECONDS + 16))
    shift 2
    until AnswerHas "$options" "$@"; do
        [ "$SECONDS" -lt "$deadline" ] || Unanswered "$options" "$@"
        CheckAlive
        sleep 0.1
    done
    Tell "$(Now)" operator "$sentence"
    Indented "$ norvad3 $options" "$answer"
}

# The first line stands out.
Indented() {
    printf '%28s%s%s%s\n' '' "$bold" "$1" "$plain"
    sed 's/^/                            /; s/ *$//' <<<"$2"
}

Unanswered() {
    local options=$1
    shift
    Indented "the last answer to norvad3 $options" "${answer:-(none)}"
    Missing "norvad3 $options answers with lines like: $*" board
}
