# Packages are written to `packages` in the build folder:
#   cpack                                     on Linux, the portable archive and the Debian package
#   cpack -G TGZ                              only the portable archive
#   cpack --config CPackSourceConfig.cmake    the source archive
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_BINARY_DIR}/packages)
# Temporary files, which would otherwise stay in the folder that cpack is called in.
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR})
set(CPACK_PACKAGE_NAME quillmarch)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The Quillmarch authors")
set(CPACK_PACKAGE_CONTACT "The Quillmarch authors <${QUILLMARCH_CONTACT}>")
set(CPACK_PACKAGE_HOMEPAGE_URL ${QUILLMARCH_WEB_SITE})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "turn one very long image into pages")
set(CPACK_PACKAGE_DESCRIPTION_FILE ${CMAKE_CURRENT_SOURCE_DIR}/debian/description)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Each generator packages another component; cpackgenerator.cmake selects it.
set(CPACK_GENERATOR TGZ)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    list(APPEND CPACK_GENERATOR DEB)
endif()
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_SOURCE_DIR}/cpackgenerator.cmake)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
string(TOLOWER "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}" system)
set(CPACK_PACKAGE_FILE_NAME quillmarch-${PROJECT_VERSION}-${system})

# What the program loads at run time, in addition to the libraries that dpkg-shlibdeps finds.
set(run_packages ${PROJECT_SOURCE_DIR}/scripts/packages.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${run_packages})
file(STRINGS ${run_packages} lines REGEX "^run ")
list(TRANSFORM lines REPLACE "^run +([^ ]+).*" "\\1")
list(JOIN lines ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_SOURCE_GENERATOR External)
set(CPACK_SOURCE_PACKAGE_FILE_NAME quillmarch-${PROJECT_VERSION})
set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${CMAKE_CURRENT_SOURCE_DIR}/source.cmake)

include(CPack)
