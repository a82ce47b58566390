# shellcheck shell=bash
# Which files the checks look at, from the root of the sources.

# The C++ sources, one to a line; the kernel module has the kernel's style. Without git, as in an unpacked archive, all
# outside the build directory are meant.
Sources() {
    git ls-files --cached --others --exclude-standard -- '*.h' '*.cpp' ':!driver/reference' 2>/dev/null ||
        find . \( -path ./build -o -path ./driver/reference \) -prune -o \( -name '*.h' -o -name '*.cpp' \) -printf '%P\n'
}

# The shell scripts that are run. What ends in .sh is a part of one of them.
Programs() {
    grep -l -d skip '^#!/bin/.*sh$' scripts/* scripts/lib/* .ci/*
}
