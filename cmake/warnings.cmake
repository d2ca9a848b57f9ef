# Linked privately, so that a project that adds this one keeps its own warnings.
add_library(quillmarch_warnings INTERFACE)
target_compile_options(quillmarch_warnings INTERFACE
    $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast
        -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough -Wformat=2>
    $<$<CXX_COMPILER_ID:MSVC>:/W4 /utf-8>)
if(QUILLMARCH_WERROR)
    target_compile_options(quillmarch_warnings INTERFACE
        $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-Werror>
        $<$<CXX_COMPILER_ID:MSVC>:/WX>)
endif()
target_compile_definitions(quillmarch_warnings INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH)

if(QUILLMARCH_SANITIZE)
    target_compile_options(quillmarch_warnings INTERFACE
        -fsanitize=${QUILLMARCH_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(quillmarch_warnings INTERFACE -fsanitize=${QUILLMARCH_SANITIZE})
endif()
