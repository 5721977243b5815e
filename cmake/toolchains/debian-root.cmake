# What the toolchain files of Debian's architectures share: the cross compiler of this machine, headers and libraries out
# of a folder with that architecture's packages (KELVO_DEBIAN_ROOT; scripts/test-worlds makes it), and an emulator that
# runs what was built, tests included.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${kelvo_debian_triplet}-gcc)
set(CMAKE_CXX_COMPILER ${kelvo_debian_triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${kelvo_debian_triplet})

set(KELVO_DEBIAN_ROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/roots/${kelvo_debian_architecture}
    CACHE PATH "Folder with the packages of the architecture")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KELVO_DEBIAN_ROOT)
get_filename_component(CMAKE_SYSROOT ${KELVO_DEBIAN_ROOT} ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${CMAKE_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${kelvo_debian_triplet}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})

# Debian keeps Android's libraries in a folder of their own, which an emulated loader does not find by itself.
set(CMAKE_CROSSCOMPILING_EMULATOR ${kelvo_emulator} -L ${CMAKE_SYSROOT}
    -E LD_LIBRARY_PATH=${CMAKE_SYSROOT}/usr/lib/${kelvo_debian_triplet}/android)
