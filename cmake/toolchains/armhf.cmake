# Cross-building for 32-bit ARM, hard float (Debian's armhf), with g++-arm-linux-gnueabihf and
# a sysroot of armhf packages (scripts/armhf-sysroot prepares one):
#   cmake -S . -B build-armhf -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/armhf.cmake \
#         -DKOPA_SYSROOT=$(scripts/armhf-sysroot)
# KOPA_SYSROOT defaults to .cache/armhf/sysroot of this project. The programs built run under
# qemu-arm, which CTest puts before them as the cross-compiling emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(_kopa_triplet arm-linux-gnueabihf)
set(CMAKE_C_COMPILER ${_kopa_triplet}-gcc)
set(CMAKE_CXX_COMPILER ${_kopa_triplet}-g++)

if(NOT KOPA_SYSROOT)
    get_filename_component(KOPA_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../.cache/armhf/sysroot
        ABSOLUTE)
endif()
set(KOPA_SYSROOT ${KOPA_SYSROOT} CACHE PATH "The armhf sysroot")
# try_compile projects read the toolchain file again: pass the sysroot on to them.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KOPA_SYSROOT)
set(CMAKE_SYSROOT ${KOPA_SYSROOT})

# Headers and libraries from the sysroot only; programs (gdbus-codegen, pkg-config) from the host.
set(CMAKE_FIND_ROOT_PATH ${KOPA_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The host's pkg-config, reading the sysroot's .pc files and prefixing the paths they give.
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${KOPA_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
    "${KOPA_SYSROOT}/usr/lib/${_kopa_triplet}/pkgconfig:${KOPA_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")

# Qt's tools (moc, the QML type registrar) run on the build machine: the host's own Qt 6 of the
# same release provides them.
set(QT_HOST_PATH /usr CACHE PATH "Where the build machine's Qt 6 tools are")
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu/cmake CACHE PATH
    "The build machine's Qt 6 CMake packages")

# qemu-arm finds the ARM dynamic loader and libraries in the sysroot; files that are not
# there (the build's own libraries) at their real paths.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${KOPA_SYSROOT})
