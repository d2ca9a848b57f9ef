# The same source gives the same bytes, wherever and whenever it is built: messages
# and debug information name files relative to the source.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-ffile-prefix-map=/x=. QUILLMARCH_COMPILES_PREFIX_MAP)
if(QUILLMARCH_COMPILES_PREFIX_MAP)
    # The last map that fits is used, and the build folder is often in that of the source.
    target_compile_options(quillmarch_hardening INTERFACE
        -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
endif()

# The first format of resources has no time stamps.
set(QUILLMARCH_RESOURCE_OPTIONS OPTIONS --format-version 1)
