# shellcheck shell=bash
# A root in memory with systemd, in which the packages are tried on the module that DKMS makes of its package. Whoever
# sources this has $board and $initramfs.

# What modprobe wants of the kernel, and where its headers are while DKMS builds.
AddKernel() {
    local modules
    version=$(basename "$board"/kernel/boot/vmlinuz-*)
    version=${version#vmlinuz-}
    modules=$image/lib/modules/$version
    mkdir -p "$modules"
    find "$board/kernel/lib/modules" -name veth.ko -exec cp {} "$modules" \;
    cp "$board/kernel/lib/modules/$version"/modules.{builtin,order} "$modules"
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
    mkdir "$image/packages"
    cp build/packages/norvad3{,-lab}_*_amd64.deb "$image/packages"
    cp scripts/lib/try_packages.sh "$image/usr/local/sbin"
    cp scripts/lib/packages_inside "$image/usr/local/sbin/try_packages_inside"
    cp scripts/lib/try_packages.service "$image/etc/systemd/system"
}

MakePackagesInitramfs() {
    image=$board/packages
    MakeInstalledRoot
    echo "installing the module's package (log: $board/dkms.log)"
    rm -rf "$image"
    cp -a "$installed_root" "$image"
    AddKernel
    InstallModule
    LeaveOut
    AddTrial
    (cd "$image" && find . | cpio --quiet -o -H newc) >"$initramfs"
    echo "the root in memory has $(($(stat -c %s "$initramfs") / 1000000)) MB"
}
