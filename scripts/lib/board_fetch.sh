# shellcheck shell=bash
# Debian packages of the board's architecture, unpacked into a directory and installed nowhere. Whoever sources this has
# $board, $architecture and $flavour.

# apt with lists and a status of its own for that architecture; this machine's stay as they are.
PrivateApt() {
    local of=$1 home=$project/build/board/apt-$1
    shift
    if [ ! -e "$home/config" ]; then
        mkdir -p "$home"/{state/lists/partial,cache/archives/partial}
        : >"$home/status"
        echo "deb $(ReleaseArchive) bookworm main" >"$home/sources.list"
        cat >"$home/config" <<TEXT
APT::Architecture "$of";
APT::Architectures { "$of"; };
APT::Install-Recommends "false";
APT::Sandbox::User "";
Dir::State "$home/state";
Dir::State::status "$home/status";
Dir::Cache "$home/cache";
Dir::Etc::sourcelist "$home/sources.list";
Dir::Etc::sourceparts "-";
TEXT
        APT_CONFIG=$home/config apt-get -qq update
    fi
    APT_CONFIG=$home/config "$@"
}

# What a package of the newest kernel is called: the name that NAME of the architecture stands for.
Named() {
    PrivateApt "$architecture" apt-cache depends "$1" | sed -n "s/^  Depends: \($2.*\)/\1/p" | head -n 1
}

# Unpack DIRECTORY ARCHITECTURE PACKAGE...
Unpack() {
    local directory=$1 of=$2 downloads
    shift 2
    downloads=$(mktemp -d)
    (cd "$downloads" && PrivateApt "$of" apt-get -qq download "$@" >/dev/null)
    for package in "$downloads"/*.deb; do dpkg -x "$package" "$directory"; done
    rm -r "$downloads"
}

# Image and headers; the programs of the kernel's own build run here, so they are this machine's.
FetchKernel() {
    local image headers kernel=$board/kernel
    [ ! -e "$kernel.done" ] || return 0
    echo "fetching a kernel for $architecture"
    rm -rf "$kernel"
    mkdir -p "$kernel"
    image=$(Named "linux-image-$flavour" linux-image-)
    headers=$(Named "linux-headers-$flavour" linux-headers-)
    if [ -z "$image" ] || [ -z "$headers" ]; then Fail "there is no kernel for $architecture"; fi
    Unpack "$kernel" "$architecture" "$image" "$headers" "${headers%"$flavour"}common"
    Unpack "$kernel" amd64 linux-kbuild-6.1
    sed -i "s#^include /usr/src/#include $kernel/usr/src/#" "$kernel/usr/src/$headers/Makefile"
    touch "$kernel.done"
}

# What the guest's root is picked from.
FetchPeers() {
    local packages peers=$board/peers
    packages="bash coreutils grep sed mawk util-linux util-linux-extra mount iproute2 kmod linuxptp lldpd tcpdump
        libfmt9 libboost-program-options1.74.0 libstdc++6"
    [ "$(cat "$peers.words" 2>/dev/null)" != "$packages" ] || return 0
    echo "fetching what runs on it"
    rm -rf "$peers"
    mkdir -p "$peers"
    # shellcheck disable=SC2086  # words
    PrivateApt "$architecture" apt-get -qq -y --download-only install $packages >/dev/null
    for package in "$project/build/board/apt-$architecture"/cache/archives/*.deb; do dpkg -x "$package" "$peers"; done
    echo "$packages" >"$peers.words"
}
