# shellcheck shell=bash
# The running daemon asked as an operator asks it: by a second start of the same program, with options, or by norvadctl.

# The answer's lines, with the port in front of those that stand below "Port N".
LinesByPort() {
    awk '/^Port [0-9]+$/ { port = $2 " "; next } { print port $0 }' <<<"$answer"
}

# AnswerHas PROGRAM WORDS PATTERN...: asks once; true when each pattern finds a line. What the client has to complain of is
# in a log. That norvadctl finds something missing is an answer too.
AnswerHas() {
    local program=$1 words pattern
    read -ra words <<<"$2"
    shift 2
    answer=$("$program" "${words[@]}" 2>>"$logs/client") || [ "$program" = norvadctl ] || return 1
    for pattern in "$@"; do
        LinesByPort | grep -q -E -- "$pattern" || return 1
    done
}

# Ask OPTIONS SENTENCE PATTERN...: tells and types the command and shows its answer. A client waits for 10 ms only and
# then prints nothing, which happens on a busy machine: it is typed again.
Ask() {
    AskBy norvad3 "$@"
}

# Consult WORDS SENTENCE PATTERN...: the same of norvadctl.
Consult() {
    AskBy norvadctl "$@"
}

AskBy() {
    local program=$1 request=$2 sentence=$3 deadline=$((SECONDS + 16))
    shift 3
    until AnswerHas "$program" "$request" "$@"; do
        [ "$SECONDS" -lt "$deadline" ] || Unanswered "$program $request" "$@"
        CheckAlive
        sleep 0.1
    done
    Tell "$(Now)" operator "$sentence"
    Indented "$ $program $request" "$answer"
}

# The first line stands out.
Indented() {
    printf '%28s%s%s%s\n' '' "$bold" "$1" "$plain"
    sed 's/^/                            /; s/ *$//' <<<"$2"
}

Unanswered() {
    local command=$1
    shift
    Indented "the last answer to $command" "${answer:-(none)}"
    Missing "$command answers with lines like: $*" board
}
