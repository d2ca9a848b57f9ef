# Packages are written to `packages` in the build folder:
#   cpack                                     on Linux, the portable archive and the Debian packages
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
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
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

# Two Debian packages: the window, and the command without a window for servers. What
# the window loads at run time comes in addition to the libraries that dpkg-shlibdeps
# finds; fonts are recommended only, because any that fit will do.
set(run_packages ${PROJECT_SOURCE_DIR}/scripts/packages.txt)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${run_packages})
file(STRINGS ${run_packages} lines REGEX "^run ")
list(TRANSFORM lines REPLACE "^run +([^ ]+).*" "\\1")
set(fonts ${lines})
list(FILTER fonts INCLUDE REGEX "^fonts-")
list(FILTER lines EXCLUDE REGEX "^fonts-")
list(JOIN lines ", " CPACK_DEBIAN_SYSTEM_PACKAGE_DEPENDS)
list(JOIN fonts ", " CPACK_DEBIAN_SYSTEM_PACKAGE_RECOMMENDS)
set(CPACK_DEBIAN_SYSTEM_PACKAGE_NAME quillmarch)
set(CPACK_DEBIAN_BATCH_PACKAGE_NAME quillmarch-batch)
set(CPACK_DEBIAN_BATCH_PACKAGE_RECOMMENDS "qt6-image-formats-plugins, libqt6svg6")
set(CPACK_DEBIAN_BATCH_PACKAGE_SUGGESTS "quillmarch, fonts-liberation")
# Earlier versions of the first package contained the files of the second.
string(APPEND CPACK_DEBIAN_SYSTEM_PACKAGE_RECOMMENDS ", quillmarch-batch")
set(CPACK_DEBIAN_BATCH_PACKAGE_BREAKS "quillmarch (<< ${PROJECT_VERSION})")
set(CPACK_DEBIAN_BATCH_PACKAGE_REPLACES "quillmarch (<< ${PROJECT_VERSION})")
foreach(component IN ITEMS system batch)
    string(TOUPPER ${component} name)
    file(READ ${CMAKE_CURRENT_SOURCE_DIR}/debian/${component}.txt description)
    set(CPACK_COMPONENT_${name}_DESCRIPTION "${description}")
endforeach()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_SOURCE_GENERATOR External)
set(CPACK_SOURCE_PACKAGE_FILE_NAME quillmarch-${PROJECT_VERSION})
set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${CMAKE_CURRENT_SOURCE_DIR}/source.cmake)

include(CPack)
