# shellcheck shell=bash
# A root in memory with systemd, in which the packages are tried; on this machine's kind on the module that DKMS makes of
# its package. Whoever sources this has $board, $architecture, $triplet and $initramfs.

# What modprobe wants of the kernel, and where its headers are while DKMS builds.
AddKernel() {
    local modules
    version=$(basename "$board"/kernel/boot/vmlinuz-*)
    version=${version#vmlinuz-}
    modules=$image/lib/modules/$version
    mkdir -p "$modules"
    find "$board/kernel/lib/modules" -name veth.ko -exec cp {} "$modules" \;
    cp "$board/kernel/lib/modules/$version"/modules.{builtin{,.modinfo},order} "$modules"
    ln -s "$board/kernel/usr/src/linux-headers-$version" "$modules/build"
}

# The package has DKMS build the module and put it where modprobe finds it.
InstallModule() {
    Quietly "$board/dkms.log" InRoot "$image" env DEBIAN_FRONTEND=noninteractive \
        bash -ec 'dpkg -i build/packages/norvad3-switch-dkms_*_all.deb; dkms status'
    grep -q "^norvad3-switch/.*, $version, .*: installed" "$board/dkms.log" || Fail "DKMS made no module; see $board/dkms.log"
    rm "$image/lib/modules/$version/build"
}

# Nobody compiles or reads there.
LeaveOut() {
    rm -rf "$image"/usr/{include,lib/gcc,share/{doc,i18n,info,locale,man}} "$image"/var/{cache,lib/apt/lists}/*
}

AddTrial() {
    mkdir -p "$image/packages" "$image/usr/local/sbin"
    cp build/packages/norvad3{,-lab}_*_"$architecture".deb "$image/packages"
    cp scripts/lib/try_packages.sh "$image/usr/local/sbin"
    cp scripts/lib/packages_inside "$image/usr/local/sbin/try_packages_inside"
    cp scripts/lib/try_packages.service "$image/etc/systemd/system"
}

# Debian as the guest's own machine has it, whose packages no scripts of theirs have set up, as those cannot run here.
MakeUnpackedRoot() {
    local wanted package
    mapfile -t wanted < <(Dependencies "$architecture" | grep '^lib')
    echo "unpacking a Debian with systemd for $architecture"
    mkdir -p "$board/debian/partial"
    PrivateApt "$architecture" apt-get -qq -y --download-only -o "Dir::Cache::archives=$board/debian" install \
        '?essential' systemd-sysv iproute2 kmod procps "${wanted[@]}" >"$board/debian.log"
    mkdir -p "$image"/{proc,sys,dev,run,root,tmp,var/lib/dpkg,usr/{bin,sbin,lib/"$triplet"}}
    ln -s usr/{bin,sbin,lib} "$image"
    for package in "$board"/debian/*.deb; do
        dpkg-deb --fsys-tarfile "$package" | tar -x --keep-directory-symlink -C "$image"
        printf '%s\nStatus: install ok installed\n\n' "$(dpkg-deb -f "$package")" >>"$image/var/lib/dpkg/status"
    done
    cp "$image/usr/share/base-passwd/passwd.master" "$image/etc/passwd"
    cp "$image/usr/share/base-passwd/group.master" "$image/etc/group"
    : >"$image/etc/machine-id" # or systemd would ask for the settings of a machine that is new
}

# The module as the board's chapters have it.
AddModule() {
    BuildModule
    mkdir -p "$image/lib/modules/$version/updates"
    cp "$board/module/reference/norvad3_switch.ko" "$image/lib/modules/$version/updates"
    depmod --basedir "$image" "$version"
}

MakePackagesInitramfs() {
    image=$board/packages
    rm -rf "$image"
    if [ "$architecture" = amd64 ]; then
        MakeInstalledRoot
        cp -a "$installed_root" "$image"
        AddKernel
        echo "installing the module's package (log: $board/dkms.log)"
        InstallModule
    else
        MakeUnpackedRoot
        AddKernel
        AddModule
    fi
    LeaveOut
    AddTrial
    (cd "$image" && find . | cpio --quiet -o -H newc) >"$initramfs"
    echo "the root in memory has $(($(stat -c %s "$initramfs") / 1000000)) MB"
}
