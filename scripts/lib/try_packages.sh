# shellcheck shell=bash
# What the trials of the packages share: steps, patience, and questions to systemd.

trap 'Fail "line $LINENO: $BASH_COMMAND"' ERR
export DEBIAN_FRONTEND=noninteractive

Step() { printf 'packages: %s\n' "$*"; }

Fail() {
    printf 'packages: FAILED: %s\n' "$*"
    systemctl status --no-pager --full --lines=20 'norvad3*' norvadctl.service || true
    exit 1
}

# Must WHAT COMMAND...: within 20 s
Must() {
    local what=$1 turn
    shift
    for turn in {1..100}; do
        "$@" >/tmp/must 2>&1 && return
        sleep 0.2
    done
    cat /tmp/must
    Fail "$what (after $turn turns)"
}

IsUp() { systemctl is-active --quiet "$1"; }
IsDown() { ! IsUp "$1"; }
Answers() { grep -q 'Port  0  status' < <("$@" norvad3 -s 2>&1); }
InterfaceIsUp() { [ -n "$(ip -o link show "$1" up)" ]; }
MainProcess() { systemctl show --value --property=MainPID "${1:-norvad3.service}"; }

# HasChanged PROCESS [UNIT]
HasChanged() { [ "$(MainProcess "${2-}")" != "$1" ] && [ "$(MainProcess "${2-}")" != 0 ] && IsUp "${2:-norvad3.service}"; }

# Packages WHAT OPTIONS OF dpkg...
Packages() {
    local what=$1
    shift
    dpkg "$@" >/tmp/dpkg.log 2>&1 && return
    cat /tmp/dpkg.log
    Fail "$what"
}
