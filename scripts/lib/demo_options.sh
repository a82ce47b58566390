# shellcheck shell=bash
# The options that scripts/demo and norvad3-demo have in common. Whoever sources this says what differs: $program is its
# name, $place where the plot goes without --captures, $untouched what it changes of this machine, $notes what else is
# to be known.

Usage() {
    cat <<TEXT
$program [--keep] [--captures DIR]

Runs the daemon norvad3 on a virtual switch with stations on its ports 0 and 1, and shows step by step how a VLAN is
joined and left, how the bridge follows a grandmaster's time (ptp4l), how a stream is reserved and released, and what
the operator is told. It draws how the clock came to follow: offset.svg, in $place or in DIR. Everything
happens in namespaces of its own; $untouched.

  --keep           leave it running at the end, and say how to look inside and how to end it
  --captures DIR   write port0.pcap, port1.pcap and cpu.pcap into DIR
  --help           show this text

Works as root, and as an ordinary user where those may make user namespaces. $notes
Ctrl-C ends it at any time and leaves nothing running.
TEXT
}

Fail() {
    echo "demo: $*" >&2
    exit 1
}

# Its namespaces have a /tmp of their own, in which directories below the one outside can be kept, but not that itself.
CheckPlace() {
    [ -w "$1" ] || Fail "cannot write into $1"
    [ "$1" != /tmp ] || Fail "what is written into /tmp itself is lost, as the demo has another one; use a directory below it"
}

# Sets $keep, and $captures to a directory or nothing.
ReadOptions() {
    keep=no captures=
    while [ $# -gt 0 ]; do
        case $1 in
            --keep) keep=yes ;;
            --captures)
                [ -n "${2-}" ] || Fail "--captures wants a directory"
                mkdir -p "$2" || Fail "cannot make the directory $2"
                captures=$(cd "$2" && pwd -P)
                CheckPlace "$captures"
                shift
                ;;
            --help | -h)
                Usage
                exit 0
                ;;
            *)
                Usage >&2
                exit 2
                ;;
        esac
        shift
    done
}
