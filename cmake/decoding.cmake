# The libraries that open PNG and JPEG files faster than Qt does. Without one of
# them the program leaves all files to Qt.
find_path(QUILLMARCH_ISAL_INCLUDE isa-l/igzip_lib.h)
find_library(QUILLMARCH_ISAL_LIBRARY isal)
find_path(QUILLMARCH_DEFLATE_INCLUDE libdeflate.h)
find_library(QUILLMARCH_DEFLATE_LIBRARY deflate)
find_package(JPEG QUIET)

include(CheckCXXSourceCompiles)
if(JPEG_FOUND)
    set(CMAKE_REQUIRED_INCLUDES ${JPEG_INCLUDE_DIRS})
    set(CMAKE_REQUIRED_LIBRARIES ${JPEG_LIBRARIES})
    check_cxx_source_compiles("
        #include <cstdio>
        #include <jpeglib.h>
        int main() { return jpeg_skip_scanlines(nullptr, JCS_EXT_BGRA) != 0; }" QUILLMARCH_JPEG_IS_TURBO)
    unset(CMAKE_REQUIRED_INCLUDES)
    unset(CMAKE_REQUIRED_LIBRARIES)
endif()

if(QUILLMARCH_ISAL_INCLUDE AND QUILLMARCH_ISAL_LIBRARY AND QUILLMARCH_DEFLATE_INCLUDE
        AND QUILLMARCH_DEFLATE_LIBRARY AND QUILLMARCH_JPEG_IS_TURBO)
    set(found ON)
else()
    set(found OFF)
    message(STATUS "No fast decoding: install libisal-dev, libdeflate-dev and libjpeg62-turbo-dev")
endif()
option(QUILLMARCH_FAST_DECODING "Decode common PNG and JPEG files without Qt" ${found})
if(QUILLMARCH_FAST_DECODING AND NOT found)
    message(FATAL_ERROR "QUILLMARCH_FAST_DECODING needs libisal-dev, libdeflate-dev and libjpeg62-turbo-dev")
endif()
