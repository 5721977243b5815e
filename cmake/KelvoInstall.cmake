# Headers, libraries, a CMake package (find_package(Kelvo)) and pkg-config files.
include(CMakePackageConfigHelpers)

set(kelvo_installed_targets kelvo_contract kelvo_warnings kelvo kelvoGLES20 kelvo_desktop)
install(TARGETS ${kelvo_installed_targets} EXPORT KelvoTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(TARGET kelvo-player)
    install(TARGETS kelvo-player RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(DIRECTORY include/ host/include/ platform/desktop/include/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvo FILES_MATCHING PATTERN "*.h")
install(DIRECTORY src/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvo/GLES20 FILES_MATCHING PATTERN "*.h")

install(EXPORT KelvoTargets NAMESPACE Kelvo:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)
configure_package_config_file(cmake/KelvoConfig.cmake.in ${CMAKE_BINARY_DIR}/KelvoConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KelvoConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/KelvoConfig.cmake ${CMAKE_BINARY_DIR}/KelvoConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)

configure_file(cmake/kelvo.pc.in ${CMAKE_BINARY_DIR}/kelvo.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kelvo.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
