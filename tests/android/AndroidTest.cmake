# Builds the libraries as for Android: against headers under the platform's names from a folder outside of the
# tree, and libraries that define what a device's do. Then looks at what they need, and at whether Android.bp builds the
# same files.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/PlatformSymbols.cmake)

include(${CMAKE_CURRENT_LIST_DIR}/../support/Run.cmake)

# The tree's headers and libraries.
set(headers ${SCRATCH}/tree/include)
set(libraries ${SCRATCH}/tree/lib)
file(REMOVE_RECURSE ${SCRATCH}/tree)
file(COPY ${SOURCE}/platform/android/window/ ${SOURCE}/platform/android/include/ DESTINATION ${headers})
foreach(folder EGL GLES2 KHR)
    file(COPY ${SYSTEM_HEADERS}/${folder} DESTINATION ${headers})
endforeach()
foreach(folder IN LISTS JNI_INCLUDE_DIRS)
    file(GLOB jni ${folder}/jni.h ${folder}/jni_md.h)
    file(COPY ${jni} DESTINATION ${headers})
endforeach()
file(WRITE ${headers}/android/log.h [[
#pragma once
enum { ANDROID_LOG_DEBUG = 3, ANDROID_LOG_INFO, ANDROID_LOG_WARN, ANDROID_LOG_ERROR };
extern "C" int __android_log_write(int priority, char const* tag, char const* text);
]])
file(MAKE_DIRECTORY ${libraries})
foreach(library EGL GLESv2 ui utils skia android_runtime log)
    list(TRANSFORM SYMBOLS_${library} REPLACE "(.+)" "extern \"C\" void \\1() {}\n" OUTPUT_VARIABLE definitions)
    list(JOIN definitions "" text)
    file(WRITE ${SCRATCH}/tree/${library}.cpp "${text}")
    run(${CXX} -w -shared -fPIC -o ${libraries}/lib${library}.so ${SCRATCH}/tree/${library}.cpp)
endforeach()

set(build ${SCRATCH}/build)
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${build} -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_BUILD_TYPE=Debug
    -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DKELVO_PLATFORM=android -DKELVO_ANDROID_INCLUDE_DIRS=${headers}
    -DKELVO_ANDROID_LIBRARY_DIRS=${libraries})
run(${CMAKE_COMMAND} --build ${build})

file(READ ${build}/compile_commands.json commands)
if(commands MATCHES "${SOURCE}/platform" OR commands MATCHES "${SOURCE}/(assets|player|examples|tests|bench)")
    message(FATAL_ERROR "${build}/compile_commands.json names a folder that is not for Android")
endif()

# Each needed name is that of a library further down, or one of the lists'.
foreach(library kelvo kelvoGLES20)
    run(${NM} -D --defined-only --format=posix ${build}/lib/lib${library}.so)
    string(REGEX MATCHALL "(^|\n)[^ \n]+" defined "${output}")
    list(TRANSFORM defined STRIP)
    list(APPEND allowed ${defined})
endforeach()
foreach(library EGL GLESv2 ui skia android_runtime log c)
    list(APPEND allowed ${SYMBOLS_${library}})
endforeach()
foreach(library kelvo kelvoGLES20 kelvo_effects)
    run(${NM} -D --undefined-only --format=posix ${build}/lib/lib${library}.so)
    string(REGEX REPLACE "@[^ \n]*| [Uwv][^\n]*" "" needed "${output}")
    string(REGEX MATCHALL "[^\n]+" needed "${needed}")
    list(FILTER needed EXCLUDE REGEX "^(${PATTERN_runtime})$")
    list(REMOVE_ITEM needed ${allowed})
    if(needed)
        message(SEND_ERROR "lib${library} needs what a device may not have: ${needed}")
    endif()
endforeach()

# A module's sources in Android.bp, in order, are the library's here.
file(READ ${SOURCE}/Android.bp blueprint)
string(JSON nCommands LENGTH "${commands}")
math(EXPR last "${nCommands} - 1")
foreach(i RANGE ${last})
    string(JSON file GET "${commands}" ${i} file)
    cmake_path(RELATIVE_PATH file BASE_DIRECTORY ${SOURCE})
    list(APPEND built ${file})
endforeach()
foreach(module libkelvo:host libkelvoGLES20:src libkelvo_effects:effects)
    string(REGEX MATCH "(.+):(.+)" module ${module})
    set(name ${CMAKE_MATCH_1})
    set(sources ${built})
    list(FILTER sources INCLUDE REGEX "^${CMAKE_MATCH_2}/")
    list(SORT sources)
    if(NOT blueprint MATCHES "name: \"${name}\",[^}]*srcs: \\[([^]]*)\\]")
        message(FATAL_ERROR "Android.bp has no sources for ${name}")
    endif()
    string(REGEX MATCHALL "[^\" ,\n]+" listed "${CMAKE_MATCH_1}")
    if(NOT listed STREQUAL sources)
        list(JOIN sources "\",\n        \"" sources)
        message(SEND_ERROR "The sources of ${name} in Android.bp are not those built here:\n        \"${sources}\",")
    endif()
endforeach()
