# Builds for arm64 on a Debian machine of another architecture, with Debian's cross compiler
# (crossbuild-essential-arm64) and the libraries of arm64: see docs/cross-building.md.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(triplet aarch64-linux-gnu)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
# pkg-config would find the libraries of the machine that builds.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${triplet}/pkgconfig:/usr/share/pkgconfig)

# With this emulator the build machine runs what was built (package qemu-user-static).
find_program(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static)
