# shellcheck shell=bash
# The module, the programs and the root in memory of the board. Whoever sources this has $project, $board, $architecture,
# $triplet and $initramfs.

# What is for other machines is built in the Debian root of scripts/package, which has their compilers.
Within() {
    if [ "$architecture" = amd64 ]; then
        "$@"
        return
    fi
    InRoot "$packages_root" "$@"
}

# Quietly COMMAND...: shows the end of the log if it fails.
Quietly() {
    local log=$1
    shift
    if ! "$@" >"$log" 2>&1; then
        tail -n 40 "$log" >&2
        Fail "failed: $*; all of it is in $log"
    fi
}

# A warning of the compiler is a failure.
BuildModule() {
    local module=$board/module
    echo "building the reference driver"
    rm -rf "$module"
    mkdir -p "$module"
    cp -r driver/include driver/reference "$module"
    Quietly "$module.log" Within make -C "$(echo "$board"/kernel/usr/src/linux-headers-*"-$flavour")" \
        M="$module/reference" W=1 KCFLAGS=-Werror DEB_BUILD_ARCH=amd64 "DEB_HOST_ARCH=$architecture" \
        "DEB_HOST_GNU_TYPE=$triplet" modules
}

BuildPrograms() {
    local programs=$board/programs toolchain=()
    echo "building the daemon and the station (log: $programs.log)"
    [ "$architecture" = amd64 ] || toolchain=("-DCMAKE_TOOLCHAIN_FILE=cmake/$triplet.cmake")
    Quietly "$programs.log" Within cmake -S . -B "$programs" -G Ninja -DCMAKE_BUILD_TYPE=Release -DNORVAD_TESTS=OFF \
        -DNORVAD_LAB=ON "${toolchain[@]}"
    Quietly "$programs.log" Within ninja -C "$programs" norvad3 norvad3-end-station \
        norvad3-grandmaster-reader norvadctl
}

# Adds a file of the packages to the image, where it stands there.
Add() {
    local file
    for file in "$@"; do
        [ ! -e "$image$file" ] || continue
        mkdir -p "$image$(dirname "$file")"
        cp -L "$board/peers$file" "$image$file"
        AddLibraries "$image$file"
    done
}

# The libraries that a program names and theirs, and what loads them.
AddLibraries() {
    local name found
    while read -r name; do
        if [[ $name == /* ]]; then
            Add "$name"
            continue
        fi
        found=$(cd "$board/peers" && find lib usr/lib -name "$name" -print -quit)
        [ -n "$found" ] || Fail "there is no $name for $1"
        Add "/$found"
    done < <(readelf -ld "$1" 2>/dev/null |
        sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p; s/.*program interpreter: \(.*\)\]/\1/p')
}

# Programs by the names that the packages have them under.
AddPrograms() {
    local name found
    for name in "$@"; do
        found=$(cd "$board/peers" && find bin sbin usr/bin usr/sbin -name "$name" -print -quit 2>/dev/null)
        [ -n "$found" ] || Fail "there is no program $name"
        Add "/$found"
    done
}

# The modules that the peers and the cables want; those that a kernel has built in are not there.
AddModules() {
    local name found
    mkdir -p "$image/modules"
    for name in llc stp garp mrp 8021q bridge veth pktgen; do
        found=$(find "$board/kernel/lib/modules" -name "$name.ko" -print -quit)
        [ -z "$found" ] || cp "$found" "$image/modules"
    done
    cp "$board/module/reference/norvad3_switch.ko" "$image/modules"
}

# The guest's root. It is not compressed: a guest unpacks slowly.
MakeInitramfs() {
    image=$board/image
    rm -rf "$image"
    mkdir -p "$image"/{bin,sbin,usr,lib,etc,proc,sys,dev,run/lldpd,tmp,root,build/bin,project/scripts}
    ln -s ../bin ../sbin ../lib "$image/usr"
    [ ! -e "$board/peers/lib64" ] || ln -s lib "$image/lib64"
    AddPrograms bash cat cp cut date dirname env false head ln ls mkdir mktemp od readlink rm rmdir paste sed sleep sort stdbuf \
        tail touch tr true wc grep mawk dmesg mount nsenter chrt setpriv unshare ip bridge kmod ptp4l lldpd lldpcli tcpdump
    ln -s mawk "$image/bin/awk"
    ln -s kmod "$image/bin/insmod"
    ln -s kmod "$image/bin/rmmod"
    Add /usr/libexec/coreutils/libstdbuf.so
    AddModules
    cp "$board"/programs/bin/norvad* "$image/build/bin"
    local program
    for program in "$image"/build/bin/*; do AddLibraries "$program"; done
    printf 'root:x:0:0::/root:/bin/bash\n_lldpd:x:100:100::/run/lldpd:/bin/false\n' >"$image/etc/passwd"
    printf 'root:x:0:\n_lldpd:x:100:\n' >"$image/etc/group"
    cp -r scripts/lib "$image/project/scripts"
    (cd "$image" && find . | cpio --quiet -o -H newc -R 0:0) >"$initramfs"
    echo "the root in memory has $(($(stat -c %s "$initramfs") / 1000000)) MB"
}
