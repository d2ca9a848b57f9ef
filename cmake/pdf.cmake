# The libraries of the layer that writes PDF files: libqpdf, and those that decoding uses.
find_package(qpdf 11 REQUIRED CONFIG)
if(NOT found)
    message(FATAL_ERROR "Writing PDF files needs libisal-dev, libdeflate-dev and libjpeg62-turbo-dev")
endif()
