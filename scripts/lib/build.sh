# shellcheck shell=bash
# What the scripts install and how they build.

# Debian packages by what wants them.
declare -A packages=(
    [daemon]="cmake g++ ninja-build libboost-dev libboost-program-options-dev"
    [lab]="libboost-context-dev libfmt-dev libmnl-dev libpcap-dev libseccomp-dev libyaml-cpp-dev nlohmann-json3-dev"
    [tests]="libgtest-dev libgmock-dev libbenchmark-dev libvalijson-dev"
    [worlds]="iproute2 util-linux"
    [linuxptp]="linuxptp"
    [peers]="linuxptp lldpd tshark"
    [browser]="chromium chromium-driver"
    [gnuplot]="gnuplot-nox"
    [clang]="clang libclang-rt-14-dev"
    [clang-tidy]="clang-tidy"
    [clang-format]="clang-format"
    [shellcheck]="shellcheck"
    [awk]="mawk"
    [roots]="mmdebstrap uidmap util-linux"
    [lintian]="lintian"
    [nspawn]="systemd-container"
    [board]="binutils cpio gcc libelf1 make"
    [board-amd64]="qemu-system-x86"
    [board-arm]="kmod qemu-system-arm"
)

# InstallFor WANT...
InstallFor() {
    local want words names=()
    for want in "$@"; do
        read -ra words <<<"${packages[$want]}"
        names+=("${words[@]}")
    done
    mapfile -t names < <(printf '%s\n' "${names[@]}" | sort -u)
    "$(dirname "${BASH_SOURCE[0]}")/../install-packages" "${names[@]}"
}

# What was compiled before is taken from ccache where there is one. With precompiled headers it wants to be told that
# neither their definitions nor the time of day matter.
if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache
    export CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS:-pch_defines,time_macros}
fi

# BuildPreset PRESET [OPTIONS OF cmake --build...], from the root of the project.
BuildPreset() {
    cmake --preset "$1" && cmake --build --preset "$@"
}
