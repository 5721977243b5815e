# Makes the Debian packages, installs them into an empty root by dpkg, looks at what is there, plays with it, and takes
# them out again. Stops at the first step that fails.
cmake_minimum_required(VERSION 3.25)

include(${CMAKE_CURRENT_LIST_DIR}/../support/Run.cmake)

function(expect condition)
    cmake_language(EVAL CODE "if(NOT (${condition}))\n message(FATAL_ERROR [[not so: ${condition}\n${ARGN}]])\nendif()")
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
set(root ${SCRATCH}/root)
file(MAKE_DIRECTORY ${root}/etc ${root}/var/lib/dpkg/info ${root}/var/lib/dpkg/updates ${root}/var/lib/dpkg/triggers)
file(TOUCH ${root}/var/lib/dpkg/status ${root}/var/lib/dpkg/available)

run(${CPACK} --config ${BUILD}/CPackConfig.cmake -C ${CONFIG} -B ${SCRATCH}/packages)
file(GLOB packages ${SCRATCH}/packages/*.deb)
list(TRANSFORM packages REPLACE "^.*/([a-z0-9-]+)_${VERSION}-1_[a-z0-9]+\\.deb$" "\\1" OUTPUT_VARIABLE names)
expect("names STREQUAL \"kelvo-tools;libkelvo-dev;libkelvo1\"" "${names}")
foreach(package IN LISTS packages)
    run(dpkg-deb -f ${package} Package Depends Maintainer Description)
    expect("output MATCHES \"Depends: ([^:]*[ \n])?(libkelvo1 \\\\(= ${VERSION}-1\\\\)|libc6)[ ,]\"" "${output}")
endforeach()

# Dependencies are not in this root, so dpkg is not to ask for them; which they are dpkg-shlibdeps has found out.
set(dpkg dpkg --root=${root} --log=${SCRATCH}/dpkg.log --force-depends --force-script-chrootless)
run(${dpkg} --install ${packages})
foreach(name IN LISTS names)
    foreach(file copyright changelog.gz changelog.Debian.gz)
        expect("EXISTS ${root}/usr/share/doc/${name}/${file}")
    endforeach()
endforeach()

# Programs and libraries need no run path in a system, but for what Debian keeps off the loader's path.
set(ENV{LD_LIBRARY_PATH} ${root}/usr/${LIBDIR})
file(GLOB binaries ${root}/usr/bin/* ${root}/usr/${LIBDIR}/*.so.*)
foreach(binary IN LISTS binaries)
    run(readelf -d ${binary})
    string(REGEX MATCH "(RUNPATH|RPATH)[^\n]*\\[([^]\n]*)\\]" found "${output}")
    expect("NOT CMAKE_MATCH_2 OR CMAKE_MATCH_2 STREQUAL \"${ETC1_FOLDER}\"" "${binary} looks in ${CMAKE_MATCH_2}")
    run(ldd ${binary})
    expect("NOT output MATCHES \"not found\"" "${binary}: ${output}")
endforeach()
run(ldd ${root}/usr/bin/kelvo-player)
expect("NOT output MATCHES \"libGLU|libOpenGL|libGL\\\\.so|libX11\"" "the player pulls in the desktop's OpenGL: ${output}")

# What lies in the root is what plays: the player has no other way to its libraries.
run(${root}/usr/bin/kelvo-player ${EXAMPLES}/format/sprite.json --frames 0 --out ${SCRATCH}/sprite.png --stats)
run(${root}/usr/bin/kelvo-player ${EXAMPLES}/format/sprite.json --frames 0 --calls ${SCRATCH}/calls.txt)
run(${root}/usr/bin/kelvo-player ${EXAMPLES}/text/scene.json --frames 0 --out ${SCRATCH}/text.png)
expect("EXISTS ${SCRATCH}/sprite.png AND EXISTS ${SCRATCH}/calls.txt AND EXISTS ${SCRATCH}/text.png")

# Without the library that cuts outlines only such fonts fail, and say why.
file(WRITE ${SCRATCH}/broken/libGLU.so.1 "no library")
set(ENV{LD_LIBRARY_PATH} ${root}/usr/${LIBDIR}:${SCRATCH}/broken)
run(${root}/usr/bin/kelvo-player ${EXAMPLES}/format/sprite.json --frames 0 --out ${SCRATCH}/sprite.png)
execute_process(COMMAND ${root}/usr/bin/kelvo-player ${EXAMPLES}/text/scene.json --frames 0 --out ${SCRATCH}/none.png
    RESULT_VARIABLE result ERROR_VARIABLE errors)
expect("result EQUAL 1 AND errors MATCHES \"cannot be cut into triangles: [^\n]*libGLU\"" "${result}: ${errors}")

# Every option that the player knows stands in its manual page.
set(ENV{LD_LIBRARY_PATH} ${root}/usr/${LIBDIR})
run(${root}/usr/bin/kelvo-player --help)
string(REGEX MATCHALL "--[a-z][a-z-]*" options "${output}")
list(REMOVE_DUPLICATES options)
run(gzip -dc ${root}/usr/share/man/man1/kelvo-player.1.gz)
string(REPLACE "\\-" "-" manual "${output}")
foreach(option IN LISTS options)
    expect("manual MATCHES \"\\\\\\\\fB${option}[^a-z]\"" "the manual does not know ${option}")
endforeach()

run(${CMAKE_COMMAND} -S ${EXAMPLES}/quickstart -B ${SCRATCH}/quickstart -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${CXX}
    -DCMAKE_PREFIX_PATH=${root}/usr)
run(${CMAKE_COMMAND} -S ${EXAMPLES}/application -B ${SCRATCH}/application -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${CXX}
    -DCMAKE_PREFIX_PATH=${root}/usr)
run(${CMAKE_COMMAND} --build ${SCRATCH}/application)
unset(ENV{DISPLAY})
run(${SCRATCH}/application/application ${EXAMPLES}/application/scene.json)
expect("output MATCHES \"the dialog has come\"" "${output}")

run(${dpkg} --purge ${names})
file(GLOB_RECURSE left LIST_DIRECTORIES true ${root}/usr/*)
expect("NOT left" "left behind: ${left}")
