# shellcheck shell=bash
# The unit tests elsewhere than on this machine as it is, in a Debian root that has what it takes.

# LibrariesFor ARCHITECTURE
LibrariesFor() {
    printf "%s-dev:$1\n" libboost{,-context,-program-options} lib{fmt,gmock,gtest,mnl,pcap,seccomp,yaml-cpp}
}

# On another processor, which has the bytes the other way round.
UnitTestsOnMachines() {
    local libraries
    mapfile -t libraries < <(LibrariesFor s390x)
    MakeRoot build/roots/machines amd64,s390x cmake g++-s390x-linux-gnu iproute2 libvalijson-dev ninja-build \
        nlohmann-json3-dev qemu-user "${libraries[@]}"
    UnitTestsOn s390x-linux-gnu qemu-s390x
}

# UnitTestsOn TRIPLET EMULATOR [OPTIONS OF cmake...]
UnitTestsOn() {
    InRoot build/roots/machines scripts/lib/unit_tests "build/$1" "$2" tests/not_emulated.txt \
        --toolchain "cmake/$1.cmake" -DCMAKE_BUILD_TYPE=Release "${@:3}"
}
