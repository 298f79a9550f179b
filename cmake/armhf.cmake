# Builds for 32-bit ARM Linux (hard float) with Debian's cross compiler, against the libraries that
# scripts/armhf-root put into build/armhf-root, and runs what was built in qemu's user emulation.
# Another device: point UMDFORMAT_ARMHF_ROOT at a copy of its root folder.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# The compiler's note that its calling convention once changed concerns nothing that is built here.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
# Debug information tells the binary interface; stripping takes it off again.
set(CMAKE_CXX_FLAGS_MINSIZEREL_INIT -g)

set(UMDFORMAT_ARMHF_ROOT ${CMAKE_CURRENT_LIST_DIR}/../build/armhf-root
    CACHE PATH "Root folder with the target's libraries and headers")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES UMDFORMAT_ARMHF_ROOT)
get_filename_component(CMAKE_SYSROOT ${UMDFORMAT_ARMHF_ROOT} ABSOLUTE)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
    ${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

# -L: the emulator looks for libraries, and for the modules they load, in that folder first.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${CMAKE_SYSROOT})
