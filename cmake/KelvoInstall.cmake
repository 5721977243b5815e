# Headers, libraries, a CMake package (find_package(Kelvo)) and a pkg-config file. The asset readers are not part of it:
# they are for this project's own tools.
include(CMakePackageConfigHelpers)

set(kelvo_installed_targets kelvo_contract kelvo kelvoGLES20)
if(TARGET kelvo_desktop)
    list(APPEND kelvo_installed_targets kelvo_desktop kelvo_recording kelvo_counting kelvo_effects)
    # The libraries find each other where they lie together, whatever the prefix.
    set_target_properties(kelvo kelvoGLES20 kelvo_desktop kelvo_recording kelvo_counting kelvo_effects PROPERTIES
        INSTALL_RPATH "$ORIGIN")
endif()
install(TARGETS ${kelvo_installed_targets} EXPORT KelvoTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(TARGET kelvo-player)
    install(TARGETS kelvo-player kelvo-player-calls kelvo-player-counted RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    if(TARGET kelvo-player-window)
        install(TARGETS kelvo-player-window RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    endif()
endif()

install(DIRECTORY include/ host/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvo FILES_MATCHING PATTERN "*.h")
# Of Android's own headers an application takes the window's; the others stay off its include path, and so do those of
# the back end that need them.
if(TARGET kelvo_desktop)
    install(DIRECTORY platform/desktop/include/ platform/recording/include/ platform/counting/include/ effects/include/
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvo FILES_MATCHING PATTERN "*.h")
    install(DIRECTORY platform/android/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvo
        FILES_MATCHING REGEX "/(android/native_window|system/window)\\.h$")
endif()
install(DIRECTORY src/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvo/GLES20
    FILES_MATCHING PATTERN "*.h" REGEX "/Android/(EGLImageImpl|JavaBitmap)\\.h$" EXCLUDE)

install(EXPORT KelvoTargets NAMESPACE Kelvo:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)
configure_package_config_file(cmake/KelvoConfig.cmake.in ${CMAKE_BINARY_DIR}/KelvoConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KelvoConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/KelvoConfig.cmake ${CMAKE_BINARY_DIR}/KelvoConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)

if(NOT TARGET kelvo_desktop)
    return()
endif()
# The file finds its prefix from where it lies, since the prefix may be chosen as late as `cmake --install`.
file(RELATIVE_PATH kelvo_prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" kelvo_prefix_from_pc "${kelvo_prefix_from_pc}")
configure_file(cmake/kelvo.pc.in ${CMAKE_BINARY_DIR}/kelvo.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kelvo.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
