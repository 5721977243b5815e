# Java, for the files that include this one: JNI_INCLUDE_DIRS, where jni.h is, and KELVO_HAS_JDK, whether there is a whole JDK
# of which classes and programs can be made. Without JAVA_HOME, and where no JDK is the system's default, it is the one
# that javac on the path belongs to. Without a JDK any other jni.h does for the libraries, such as that of an Android NDK
# or of Debian's android-libnativehelper-dev. Builds for Android take the platform's.
if(KELVO_PLATFORM STREQUAL "desktop")
    if(NOT DEFINED JAVA_HOME AND NOT DEFINED ENV{JAVA_HOME})
        find_program(KELVO_JAVAC javac)
        if(KELVO_JAVAC)
            file(REAL_PATH ${KELVO_JAVAC} kelvo_javac)
            cmake_path(GET kelvo_javac PARENT_PATH kelvo_java_bin)
            cmake_path(GET kelvo_java_bin PARENT_PATH JAVA_HOME)
        endif()
    endif()
    find_package(JNI QUIET COMPONENTS JVM)
    find_package(Java QUIET COMPONENTS Development)
endif()
if(JNI_FOUND AND Java_Development_FOUND)
    set(KELVO_HAS_JDK ON)
else()
    set(KELVO_HAS_JDK OFF)
endif()
if(NOT JNI_FOUND)
    find_path(KELVO_JNI_INCLUDE_DIR jni.h HINTS ${KELVO_ANDROID_INCLUDE_DIRS} PATH_SUFFIXES android/nativehelper
        DOC "The folder of a jni.h")
    if(NOT KELVO_JNI_INCLUDE_DIR)
        message(FATAL_ERROR "There is no jni.h. Install a JDK (on Debian default-jdk-headless), or name the folder of "
            "another jni.h with -DKELVO_JNI_INCLUDE_DIR=...")
    endif()
    set(JNI_INCLUDE_DIRS ${KELVO_JNI_INCLUDE_DIR})
endif()
