# jni.h, for whoever includes this file: JNI_INCLUDE_DIRS. Without JAVA_HOME, and where no JDK is the system's default,
# it is the one that javac on the path belongs to.
if(NOT DEFINED JAVA_HOME AND NOT DEFINED ENV{JAVA_HOME})
    find_program(KELVO_JAVAC javac)
    if(KELVO_JAVAC)
        file(REAL_PATH ${KELVO_JAVAC} kelvo_javac)
        cmake_path(GET kelvo_javac PARENT_PATH kelvo_java_bin)
        cmake_path(GET kelvo_java_bin PARENT_PATH JAVA_HOME)
    endif()
endif()
find_package(JNI REQUIRED COMPONENTS JVM)
