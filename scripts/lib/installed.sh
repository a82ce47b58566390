# shellcheck shell=bash
# The packages of build/packages, and a Debian with all that they want. Whoever sources this has root.sh too.

WantPackages() {
    if ! compgen -G "build/packages/norvad3-lab_*_$1.deb" >/dev/null; then
        echo "packages: build/packages has none for $1; scripts/package $1 makes them" >&2
        exit 1
    fi
}

# What the packages for ARCHITECTURE want and recommend, without versions.
Dependencies() {
    local package
    for package in build/packages/norvad3{,-lab}_*_"$1".deb; do
        # shellcheck disable=SC2016  # dpkg-deb expands them
        dpkg-deb -W --showformat='${Depends}, ${Recommends}\n' "$package"
    done | tr ',' '\n' | sed 's/^ *//; s/ .*//' | grep -v -e '^norvad3' -e '^$' | sort -u
}

# A Debian with systemd, and with what builds the module; sets $installed_root.
MakeInstalledRoot() {
    local wanted
    installed_root=build/roots/installed
    mapfile -t wanted < <(Dependencies amd64)
    MakeRoot "$installed_root" amd64 systemd-sysv logrotate iproute2 procps dkms libelf1 "${wanted[@]}"
}
