# shellcheck shell=bash
# Runs a script as the first process of namespaces of its own. Whoever sources this has Fail.

# The options of unshare that make a world of our own, one to a line.
WorldOptions() {
    local world=(--net --ipc --mount --pid --fork --kill-child)
    if [ "$(id -u)" -ne 0 ] || ! unshare --net --mount true 2>/dev/null; then
        world=(--user --map-root-user "${world[@]}")
    fi
    unshare "${world[@]}" true 2>/dev/null ||
        Fail "cannot make namespaces here; run it as root, or allow ordinary users to make user namespaces"
    printf '%s\n' "${world[@]}"
}

world_process=

# The first process inside ends the rest in good order. It has a number of its own out here. It only heeds TERM:
# what a script starts in the background ignores INT.
EndWorld() {
    local first=""
    read -r first _ <"/proc/$world_process/task/$world_process/children" || true # ends without a newline
    kill -TERM "${first:-$world_process}" 2>/dev/null || true
}

# RunWorld COMMAND...: the world runs apart from the terminal's process group, so that Ctrl-C reaches this script alone,
# and dies with it.
RunWorld() {
    local status=0 interrupted="" options
    mapfile -t options < <(WorldOptions)
    [ ${#options[@]} -gt 0 ] || exit 1
    trap 'interrupted=130; EndWorld' INT
    trap 'interrupted=143; EndWorld' TERM HUP
    setsid setpriv --pdeathsig KILL unshare "${options[@]}" "$@" </dev/null &
    world_process=$!
    while :; do
        status=0
        wait "$world_process" || status=$?
        kill -0 "$world_process" 2>/dev/null || break
    done
    # A kept world that was shown whole ends well on Ctrl-C.
    [ "$status" -eq 0 ] || exit "${interrupted:-$status}"
}
