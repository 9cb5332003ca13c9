# project_warnings: what every target of our own is compiled with.
add_library(project_warnings INTERFACE)

if(MSVC)
    # The traced texts of checked expressions hang on the preprocessor that the standard describes.
    target_compile_options(project_warnings INTERFACE
        /W4 /WX /permissive- /utf-8 /Zc:preprocessor)
    target_compile_definitions(project_warnings INTERFACE
        NOMINMAX _CRT_SECURE_NO_WARNINGS _WINSOCK_DEPRECATED_NO_WARNINGS)
else()
    target_compile_options(project_warnings INTERFACE
        -Wall -Wextra -Wpedantic -Werror
        -Wconversion -Wsign-conversion -Wshadow -Wformat=2)
    # Traps instead of reporting: the sanitizer's runtime does not exist for this target. Own
    # sources only; Boost's headers double their compile time with it.
    set(undefined -fsanitize=undefined -fsanitize-undefined-trap-on-error)
    target_compile_options(project_warnings INTERFACE "$<$<CONFIG:Debug>:${undefined}>")
endif()
