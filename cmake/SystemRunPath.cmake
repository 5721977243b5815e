# Part of an installation: gives `files`, relative to the prefix, the run path `run_path`, where the prefix is the system's.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    foreach(file IN LISTS files)
        file(RPATH_SET FILE "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/${file}" NEW_RPATH "${run_path}")
    endforeach()
endif()
