# kelvo_warnings: warning and sanitizer flags, linked privately by every target of this project.
add_library(kelvo_warnings INTERFACE)
target_compile_options(kelvo_warnings INTERFACE -Wall -Wextra -Wpedantic -Wno-psabi)
if(KELVO_SANITIZE)
    # GL entry points are looked up at run time under their C types; what UBSan calls a function-type mismatch there is
    # the driver's own business, hence no "function" check.
    target_compile_options(kelvo_warnings INTERFACE
        -fsanitize=${KELVO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(kelvo_warnings INTERFACE -fsanitize=${KELVO_SANITIZE})
endif()
