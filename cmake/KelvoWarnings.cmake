# kelvo_warnings: warning and sanitizer flags, linked privately by every target of this project.
add_library(kelvo_warnings INTERFACE)
target_compile_options(kelvo_warnings INTERFACE -Wall -Wextra -Wpedantic -Wno-psabi)
# For what users get onto their devices: numbers change their type, and their value, where the source says so and nowhere
# else.
add_library(kelvo_strict_warnings INTERFACE)
target_compile_options(kelvo_strict_warnings INTERFACE -Wconversion -Wshadow -Wold-style-cast)
target_link_libraries(kelvo_strict_warnings INTERFACE kelvo_warnings)
if(KELVO_SANITIZE)
    # GL entry points are looked up at run time under their C types; what UBSan calls a function-type mismatch there is
    # the driver's own business, hence no "function" check.
    target_compile_options(kelvo_warnings INTERFACE
        -fsanitize=${KELVO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(kelvo_warnings INTERFACE -fsanitize=${KELVO_SANITIZE})
endif()
