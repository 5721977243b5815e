# 64-bit ARM, against a root of Debian's arm64 packages; see debian-root.cmake.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(kelvo_debian_architecture arm64)
set(kelvo_debian_triplet aarch64-linux-gnu)
set(kelvo_emulator qemu-aarch64-static)
include(${CMAKE_CURRENT_LIST_DIR}/debian-root.cmake)
