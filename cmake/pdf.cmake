# The libraries of the layer that writes PDF files: libqpdf, and those that decoding uses.
find_package(qpdf 11 REQUIRED CONFIG)
target_compile_definitions(qpdf::libqpdf INTERFACE POINTERHOLDER_TRANSITION=4) # or its headers warn

# Clang 14 does not compile JSON.hh as C++20: in it a defaulted destructor needs that of a
# vector of an incomplete type. A copy in which the destructor has a body comes first.
find_path(QUILLMARCH_QPDF_INCLUDE qpdf/JSON.hh REQUIRED)
file(READ ${QUILLMARCH_QPDF_INCLUDE}/qpdf/JSON.hh header)
string(REPLACE "virtual ~JSON_array() = default;" "virtual ~JSON_array() {}" header "${header}")
file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/generated/qpdf/JSON.hh CONTENT "${header}" @ONLY)
target_include_directories(qpdf::libqpdf BEFORE INTERFACE ${CMAKE_CURRENT_BINARY_DIR}/generated)

if(NOT found)
    message(FATAL_ERROR "Writing PDF files needs libisal-dev, libdeflate-dev and libjpeg62-turbo-dev")
endif()
