# 32-bit ARM with hardware floating point, against a root of Debian's armhf packages; see debian-root.cmake.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(kelvo_debian_architecture armhf)
set(kelvo_debian_triplet arm-linux-gnueabihf)
set(kelvo_emulator qemu-arm-static)
include(${CMAKE_CURRENT_LIST_DIR}/debian-root.cmake)
