# project_warnings: the compiler options of all our own targets.
add_library(project_warnings INTERFACE)

if(MSVC)
    # /Zc:preprocessor: the traced texts of checked expressions need the standard preprocessor.
    target_compile_options(project_warnings INTERFACE
        /W4 /WX /permissive- /utf-8 /Zc:preprocessor)
    target_compile_definitions(project_warnings INTERFACE
        NOMINMAX _CRT_SECURE_NO_WARNINGS _WINSOCK_DEPRECATED_NO_WARNINGS)
else()
    target_compile_options(project_warnings INTERFACE
        -Wall -Wextra -Wpedantic -Werror
        -Wconversion -Wsign-conversion -Wshadow -Wformat=2)
    # Traps, because the sanitizer's reporting runtime does not exist for this target. In our own
    # targets only: it doubles the compile time of Boost's code.
    set(undefined -fsanitize=undefined -fsanitize-undefined-trap-on-error)
    target_compile_options(project_warnings INTERFACE "$<$<CONFIG:Debug>:${undefined}>")
endif()
