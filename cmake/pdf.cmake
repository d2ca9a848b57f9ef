# The libraries of the layer that writes PDF files: libqpdf, and those that decoding uses.
find_package(qpdf 11 REQUIRED CONFIG)
if(NOT QUILLMARCH_JPEG_IS_TURBO OR NOT QUILLMARCH_DEFLATE_LIBRARY)
    message(FATAL_ERROR "Writing PDF files needs libdeflate-dev and libjpeg62-turbo-dev")
endif()
