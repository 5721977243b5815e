# Headers, libraries, a CMake package (find_package(Kelvo)) and pkg-config files.
include(CMakePackageConfigHelpers)

set(kelvo_installed_targets kelvo_contract kelvo kelvoGLES20 kelvo_effects)
if(TARGET kelvo_desktop)
    list(APPEND kelvo_installed_targets kelvo_desktop kelvo_recording kelvo_counting)
    # The libraries find each other where they lie together, whatever the prefix.
    set_target_properties(kelvo kelvoGLES20 kelvo_desktop kelvo_recording kelvo_counting kelvo_effects PROPERTIES
        INSTALL_RPATH "$ORIGIN")
endif()
if(TARGET kelvo_assets_shared)
    cmake_path(GET ETC1_LIBRARY PARENT_PATH kelvo_etc1_folder)
    list(APPEND kelvo_installed_targets kelvo_assets_shared)
    set_target_properties(kelvo_assets_shared PROPERTIES INSTALL_RPATH "$ORIGIN;${kelvo_etc1_folder}")
endif()
install(TARGETS ${kelvo_installed_targets} EXPORT KelvoTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libraries NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
if(TARGET kelvo-player)
    set(kelvo_programs kelvo-player kelvo-player-calls kelvo-player-counted)
    if(TARGET kelvo-player-window)
        list(APPEND kelvo_programs kelvo-player-window)
    endif()
    install(TARGETS ${kelvo_programs} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)

    # The manual page is the guide, so that the two cannot part. The other programs are the player's own.
    set(kelvo_manual ${CMAKE_BINARY_DIR}/man)
    set(kelvo_manual_pages ${kelvo_manual}/kelvo-player.1.gz)
    set(kelvo_make_manual ${CMAKE_SOURCE_DIR}/cmake/make-manual kelvo-player
        "plays scene files into pictures, videos and windows" ${PROJECT_VERSION} ${CMAKE_SOURCE_DIR}/docs/player.md)
    add_custom_command(OUTPUT ${kelvo_manual}/kelvo-player.1.gz
        COMMAND ${CMAKE_COMMAND} -E make_directory ${kelvo_manual}
        COMMAND ${kelvo_make_manual} ${kelvo_manual}/kelvo-player.1.gz
        DEPENDS docs/player.md cmake/ManPage.awk cmake/make-manual VERBATIM)
    foreach(program IN LISTS kelvo_programs)
        if(NOT program STREQUAL "kelvo-player")
            file(WRITE ${kelvo_manual}/${program}.1 ".so man1/kelvo-player.1\n")
            execute_process(COMMAND gzip -9nf ${kelvo_manual}/${program}.1 COMMAND_ERROR_IS_FATAL ANY)
            list(APPEND kelvo_manual_pages ${kelvo_manual}/${program}.1.gz)
        endif()
    endforeach()
    add_custom_target(kelvo_manual ALL DEPENDS ${kelvo_manual}/kelvo-player.1.gz)
    install(FILES ${kelvo_manual_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endif()

install(DIRECTORY include/ host/include/ effects/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvo COMPONENT development
    FILES_MATCHING PATTERN "*.h")
if(TARGET kelvo_assets_shared)
    install(DIRECTORY assets/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvo COMPONENT development
        FILES_MATCHING PATTERN "*.h")
endif()
# Of Android's own headers an application takes the window's; the others stay off its include path, and so do those of
# the back end that need them.
if(TARGET kelvo_desktop)
    install(DIRECTORY platform/desktop/include/ platform/android/window/ platform/recording/include/
            platform/counting/include/
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvo COMPONENT development FILES_MATCHING PATTERN "*.h")
endif()
install(DIRECTORY src/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvo/GLES20 COMPONENT development
    FILES_MATCHING PATTERN "*.h" REGEX "/Android/(EGLImageImpl|JavaBitmap)\\.h$" EXCLUDE
    REGEX "/(FixedStreams|GlyphQuads|ProgramBuilder|RenderThread|ShaderSources|SpriteParameters|TexturedProgram|TextImageBackground)\\.h$" EXCLUDE)

install(EXPORT KelvoTargets NAMESPACE Kelvo:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo COMPONENT development)
configure_package_config_file(cmake/KelvoConfig.cmake.in ${CMAKE_BINARY_DIR}/KelvoConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/KelvoConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/KelvoConfig.cmake ${CMAKE_BINARY_DIR}/KelvoConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Kelvo COMPONENT development)

if(NOT TARGET kelvo_desktop)
    return()
endif()
# The files find their prefix from where they lie, since the prefix may be chosen as late as `cmake --install`.
file(RELATIVE_PATH kelvo_prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" kelvo_prefix_from_pc "${kelvo_prefix_from_pc}")
set(kelvo_pc_files kelvo kelvo-effects)
if(TARGET kelvo_assets_shared)
    list(APPEND kelvo_pc_files kelvo-assets)
endif()
foreach(name IN LISTS kelvo_pc_files)
    configure_file(cmake/${name}.pc.in ${CMAKE_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

# Installed as packages are, under /usr, programs and libraries find each other as all do. What then is left as run path is
# what lies off the loader's path: Debian keeps Android's libraries, ETC1 among them, in a folder of their own.
set(kelvo_libraries ${kelvo_installed_targets})
list(REMOVE_ITEM kelvo_libraries kelvo_contract kelvo_assets_shared)
list(TRANSFORM kelvo_libraries REPLACE "(.+)" "${CMAKE_INSTALL_LIBDIR}/lib\\1.so.${PROJECT_VERSION}")
list(TRANSFORM kelvo_programs PREPEND ${CMAKE_INSTALL_BINDIR}/)
install(CODE "set(files \"${kelvo_libraries}\")\nset(run_path \"\")\n" COMPONENT libraries)
install(SCRIPT cmake/SystemRunPath.cmake COMPONENT libraries)
if(TARGET kelvo_assets_shared)
    set(kelvo_assets_library ${CMAKE_INSTALL_LIBDIR}/libkelvo_assets.so.${PROJECT_VERSION})
    install(CODE "set(files \"${kelvo_assets_library}\")\nset(run_path \"${kelvo_etc1_folder}\")\n" COMPONENT libraries)
    install(SCRIPT cmake/SystemRunPath.cmake COMPONENT libraries)
endif()
if(TARGET kelvo-player)
    install(CODE "set(files \"${kelvo_programs}\")\nset(run_path \"${kelvo_etc1_folder}\")\n" COMPONENT tools)
    install(SCRIPT cmake/SystemRunPath.cmake COMPONENT tools)
endif()
