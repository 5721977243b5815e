# What `cpack` makes: Debian packages for the machine that builds them, of the library (libkelvo1), of what programs are
# built with (libkelvo-dev), and of the programs (kelvo-tools). scripts/debian-packages builds what goes into them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL libraries development)
if(KELVO_BUILD_PLAYER)
    list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS libraries)
set(CPACK_COMPONENT_TOOLS_DEPENDS libraries)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(KELVO_MAINTAINER "Kelvo maintainers <maintainers@kelvo.invalid>" CACHE STRING
    "Who answers for the packages: a name and an address")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${KELVO_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=") # later releases of the same name serve, too
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME libkelvo1)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkelvo-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# What the installed headers and the CMake package ask for.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libegl-dev, libgles-dev")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kelvo-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
# Fonts of triangles are cut with it, and say so where it is missing; everything else goes without the desktop's OpenGL, which
# it brings along.
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SUGGESTS libglu1-mesa)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS libglu1-mesa)
foreach(component LIBRARIES TOOLS)
    set(CPACK_DEBIAN_${component}_PACKAGE_SHLIBDEPS ON)
endforeach()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
# The loader's list is made anew once all packages are there.
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA ${CMAKE_SOURCE_DIR}/cmake/packages/triggers
    ${CMAKE_SOURCE_DIR}/cmake/packages/postinst ${CMAKE_SOURCE_DIR}/cmake/packages/postrm)
# The first line is what lists of packages show.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_COMPONENT_LIBRARIES_DESCRIPTION "OpenGL ES 2.0 back end of a scene-graph and animation framework
These are the libraries: the back end libkelvoGLES20, the host libkelvo,
what stands in for Android's windows and buffers on a desktop, readers of
scene, picture and font files, and two drivers that note and count calls.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "OpenGL ES 2.0 scene-graph back end, for building programs
This is what programs are built with: headers, a CMake package
(find_package(Kelvo)) and pkg-config files.")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "player of scenes of a scene-graph and animation framework
This is kelvo-player, which plays scenes into pictures, videos and
windows, compares them, and tells what they draw and what that takes. The
guides, the format of scenes and examples lie beside it.")
include(CPack)

# gzip, without a name and a date within, so that the same sources give the same packages.
function(kelvo_compress source target)
    configure_file(${source} ${target} COPYONLY)
    execute_process(COMMAND gzip -9nf ${target} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(STRINGS ${CMAKE_SOURCE_DIR}/CHANGELOG.md kelvo_releases REGEX "^## ")
list(GET kelvo_releases 0 kelvo_release)
if(NOT kelvo_release MATCHES "^## ([0-9.]+), ([0-9-]+)$" OR NOT CMAKE_MATCH_1 VERSION_EQUAL PROJECT_VERSION)
    message(FATAL_ERROR "CHANGELOG.md does not begin with \"## ${PROJECT_VERSION}, DATE\"")
endif()
set(kelvo_release_date ${CMAKE_MATCH_2})

# Policy asks for these in each package; installations without packages have no use for them.
set(kelvo_package_files ${CMAKE_BINARY_DIR}/packages)
execute_process(COMMAND date -Rud ${kelvo_release_date} OUTPUT_VARIABLE kelvo_changelog_date
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
kelvo_compress(CHANGELOG.md ${kelvo_package_files}/changelog)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} component_upper)
    set(kelvo_package ${CPACK_DEBIAN_${component_upper}_PACKAGE_NAME})
    configure_file(cmake/packages/changelog.in ${kelvo_package_files}/changelog.in @ONLY)
    kelvo_compress(${kelvo_package_files}/changelog.in ${kelvo_package_files}/${component}/changelog.Debian)
    install(FILES cmake/packages/copyright ${kelvo_package_files}/changelog.gz
            ${kelvo_package_files}/${component}/changelog.Debian.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${kelvo_package} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
foreach(component libraries tools)
    string(TOUPPER ${component} component_upper)
    install(FILES cmake/packages/lintian-overrides.${component} DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
        RENAME ${CPACK_DEBIAN_${component_upper}_PACKAGE_NAME} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kelvo-tools COMPONENT tools EXCLUDE_FROM_ALL)
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kelvo-tools COMPONENT tools EXCLUDE_FROM_ALL
    PATTERN reference EXCLUDE)
# What header libraries that are compiled into libraries and programs want said, as their packages say it.
function(kelvo_install_notice header_package component)
    if(EXISTS /usr/share/doc/${header_package}/copyright)
        install(FILES /usr/share/doc/${header_package}/copyright RENAME copyright.${header_package}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${ARGN} COMPONENT ${component} EXCLUDE_FROM_ALL)
    endif()
endfunction()
kelvo_install_notice(libcli11-dev tools kelvo-tools)
kelvo_install_notice(nlohmann-json3-dev tools kelvo-tools)
if(KELVO_BUILD_PLAYER)
    kelvo_install_notice(nlohmann-json3-dev libraries libkelvo1)
endif()
