# Installs into an empty folder, moves that folder, and builds and runs one application against it twice: with
# find_package and with pkg-config. Stops at the first step that fails.
cmake_minimum_required(VERSION 3.25)

separate_arguments(CXX_FLAGS_LIST UNIX_COMMAND "${CXX_FLAGS}")

include(${CMAKE_CURRENT_LIST_DIR}/../support/Run.cmake)

# The application prints the back end's version and the colour that a cleared window shows.
function(run_consumer program)
    run(${program})
    if(NOT output MATCHES "(^|\n)${VERSION} 51 102 153\n$")
        message(FATAL_ERROR "${program} printed: ${output}")
    endif()
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
run(${CMAKE_COMMAND} --install ${BUILD} --config ${CONFIG} --prefix ${SCRATCH}/staged)
set(prefix ${SCRATCH}/prefix)
file(RENAME ${SCRATCH}/staged ${prefix})

run(${CMAKE_COMMAND} -S ${CONSUMER} -B ${SCRATCH}/consumer -G ${GENERATOR} -DCMAKE_BUILD_TYPE=${CONFIG}
    -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" -DCMAKE_PREFIX_PATH=${prefix} -DWANTED_VERSION=${VERSION})
run(${CMAKE_COMMAND} --build ${SCRATCH}/consumer)
run_consumer(${SCRATCH}/consumer/consumer)

if(PKG_CONFIG)
    # Asked before the flags, so that a version that does not match says so.
    set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
    run(${PKG_CONFIG} --exact-version=${VERSION} kelvo)
    run(${PKG_CONFIG} --cflags --libs kelvo)
    separate_arguments(flags UNIX_COMMAND "${output}")
    run(${CXX} ${CXX_FLAGS_LIST} -std=c++17 ${CONSUMER}/Consumer.cpp ${flags} -Wl,-rpath,${prefix}/${LIBDIR}
        -o ${SCRATCH}/pkg-config-consumer)
    run_consumer(${SCRATCH}/pkg-config-consumer)
endif()

if(HAS_PLAYER)
    run(${prefix}/${BINDIR}/kelvo-player ${SCENE} --out ${SCRATCH}/picture.png)
    if(NOT EXISTS ${SCRATCH}/picture.png)
        message(FATAL_ERROR "kelvo-player left no picture:\n${output}")
    endif()

    # The quick starts, of a scene of 320 by 180 that lasts 60 frames; SDL's plays until somebody closes it.
    run(${prefix}/${BINDIR}/kelvo-player ${EXAMPLES}/first/step-4.json --save ${SCRATCH}/scene.kelvo)
    run(${CMAKE_COMMAND} -S ${EXAMPLES}/quickstart -B ${SCRATCH}/quickstart -G ${GENERATOR}
        -DCMAKE_BUILD_TYPE=${CONFIG} -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
        -DCMAKE_PREFIX_PATH=${prefix})
    run(${CMAKE_COMMAND} --build ${SCRATCH}/quickstart)
    execute_process(COMMAND ${SCRATCH}/quickstart/offscreen ${SCRATCH}/scene.kelvo
        OUTPUT_FILE ${SCRATCH}/picture.ppm RESULT_VARIABLE result)
    file(READ ${SCRATCH}/picture.ppm head LIMIT 15)
    file(SIZE ${SCRATCH}/picture.ppm size)
    if(result OR NOT head STREQUAL "P6 320 180 255\n" OR NOT size EQUAL 172815)
        message(FATAL_ERROR "offscreen answered ${result} and wrote ${size} bytes: ${head}")
    endif()
    # The application of docs/embedding.md: it plays 40 frames, hears of an end and picks, on a screen where there is one.
    run(${CMAKE_COMMAND} -S ${EXAMPLES}/application -B ${SCRATCH}/application -G ${GENERATOR}
        -DCMAKE_BUILD_TYPE=${CONFIG} -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
        -DCMAKE_PREFIX_PATH=${prefix})
    run(${CMAKE_COMMAND} --build ${SCRATCH}/application)
    if(PKG_CONFIG)
        run(${PKG_CONFIG} --cflags --libs kelvo-assets kelvo-effects)
        separate_arguments(flags UNIX_COMMAND "${output}")
        run(${CXX} ${CXX_FLAGS_LIST} -std=c++17 ${EXAMPLES}/application/Application.cpp ${flags}
            -Wl,-rpath,${prefix}/${LIBDIR} -o ${SCRATCH}/application/pkg-config-application)
    endif()
    set(heard "the dialog has come\nhit ok\nhit panel\n40 frames")
    unset(ENV{DISPLAY})
    file(GLOB applications ${SCRATCH}/application/*application)
    foreach(application IN LISTS applications)
        run(${application} ${EXAMPLES}/application/scene.json)
        if(NOT output MATCHES "${heard} off screen\n")
            message(FATAL_ERROR "${application} printed: ${output}")
        endif()
    endforeach()
    if(XVFB_RUN)
        run(${XVFB_RUN} -a ${SCRATCH}/application/application ${EXAMPLES}/application/scene.json)
        if(NOT output MATCHES "${heard} on screen\n")
            message(FATAL_ERROR "on a screen the application printed: ${output}")
        endif()
    endif()
    if(XVFB_RUN AND EXISTS ${SCRATCH}/quickstart/x11)
        run(${XVFB_RUN} -a ${SCRATCH}/quickstart/x11 ${SCRATCH}/scene.kelvo)
        if(NOT output MATCHES "60 frames")
            message(FATAL_ERROR "x11 printed: ${output}")
        endif()
    endif()
endif()

# What an application with a Java side needs: the class of bitmaps, and the headers that know Java.
if(HAS_JDK)
    run(${JAVAC} -Werror -d ${SCRATCH}/classes -cp ${prefix}/${DATADIR}/java/kelvo-android.jar
        ${CONSUMER}/BitmapUser.java)
    list(TRANSFORM JNI_INCLUDE_DIRS PREPEND -I)
    run(${CXX} ${CXX_FLAGS_LIST} -std=c++17 -fsyntax-only -DEGL_NO_X11 ${JNI_INCLUDE_DIRS} -I${prefix}/include/kelvo
        ${CONSUMER}/BitmapMaker.cpp)
endif()
