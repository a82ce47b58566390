# shellcheck shell=bash
# The unit tests elsewhere than on this machine as it is: on other processors, with another Boost, with a distribution's
# flags, under valgrind; each in a Debian root that has what it takes.

# MakeTestsRoot NAME ARCHITECTURES VERSION PACKAGE...: of the last of the architectures are the libraries, as the
# headers of some are there for one at a time only; of Boost those of a version ("" is the release's own).
MakeTestsRoot() {
    local libraries
    mapfile -t libraries < <(printf "%s-dev:${2##*,}\n" "libboost"{,-context,-program-options}"$3" \
        lib{fmt,gmock,gtest,mnl,pcap,seccomp,yaml-cpp})
    MakeRoot "build/roots/tests-$1" "$2" cmake iproute2 ninja-build nlohmann-json3-dev "${@:4}" "${libraries[@]}"
    AddHeaders "build/roots/tests-$1" valijson
}

# AddHeaders ROOT LIBRARY: without what its package wants, which would be all of Qt, for this machine.
AddHeaders() {
    local root=$1 library=$2 downloads
    [ ! -e "$root/usr/include/$library" ] || return 0
    downloads=$(mktemp -d)
    (cd "$downloads" && apt-get -qq -o APT::Sandbox::User= download "lib$library-dev")
    WorldOfRoots dpkg -x "$downloads"/*.deb "$root"
    rm -r "$downloads"
}

# Other processors: 64 bits, 32 bits with instructions that multiply and add at once, and the bytes the other way round.
UnitTestsOnMachines() {
    UnitTestsOn arm64 aarch64-linux-gnu qemu-aarch64 ""
    UnitTestsOn armhf arm-linux-gnueabihf qemu-arm -mfpu=vfpv4
    UnitTestsOn s390x s390x-linux-gnu qemu-s390x ""
}

# UnitTestsOn ARCHITECTURE TRIPLET EMULATOR FLAGS
UnitTestsOn() {
    echo "unit tests for $1, run by $3"
    MakeTestsRoot "$1" "amd64,$1" "" "g++-$2" qemu-user
    InRoot "build/roots/tests-$1" scripts/lib/unit_tests "build/tests-$1" "$3" tests/not_emulated.txt \
        --toolchain "cmake/$2.cmake" -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O2 $4"
}

# What distributions build with, and what tells valgrind of the stacks that the lab makes. Tests themselves are not
# optimised, of which the C library warns.
fortified_flags="-O2 -fstack-protector-strong -D_FORTIFY_SOURCE=3 -D_GLIBCXX_ASSERTIONS -DBOOST_USE_VALGRIND -Wno-cpp"

# UnitTestsFortified COMMAND FILE: with Boost 1.81, too.
UnitTestsFortified() {
    local architecture
    architecture=$(dpkg --print-architecture)
    MakeTestsRoot fortified "$architecture" 1.81 valgrind
    InRoot build/roots/tests-fortified scripts/lib/unit_tests build/tests-fortified "$1" "$2" -DCMAKE_BUILD_TYPE=None \
        -DCMAKE_CXX_FLAGS="$fortified_flags"
}
