# Toolchain file for 32-bit ARM with floating point in hardware: Debian's g++-arm-linux-gnueabihf, the libraries of its
# armhf architecture, and qemu-user where tests are to run.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm)
