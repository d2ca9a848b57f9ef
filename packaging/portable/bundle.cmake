# Copies the Qt libraries and plugins that the programs need, and other libraries
# that not every desktop has, into the folder of the archive, with their licenses.
# Input variables: programs, qt_plugins, name, version, web_site, compiler, objcopy.
include(${CMAKE_CURRENT_LIST_DIR}/icudata.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/sbom.cmake)
set(target "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}")

# Present on any desktop, or tied to its kernel, drivers or C library.
set(system_libraries
    ld-linux[^/]* libc libm libdl libpthread librt libresolv libutil libstdc\\+\\+ libgcc_s
    libGL libGLX libGLdispatch libEGL libOpenGL libdrm libgbm
    libX11 libX11-xcb libxcb libXau libXdmcp libwayland-client libwayland-egl
    libfontconfig libfreetype libharfbuzz libexpat libz libglib
    libdbus-1 libsystemd libudev libcap libselinux
    libcups libgnutls libgssapi_krb5 libssl libcrypto)
list(JOIN system_libraries "|" system_libraries)

set(plugins
    platforms/libqxcb.so platforms/libqoffscreen.so
    platforminputcontexts/libcomposeplatforminputcontextplugin.so
    platforminputcontexts/libibusplatforminputcontextplugin.so
    imageformats/libqgif.so imageformats/libqico.so imageformats/libqjpeg.so imageformats/libqsvg.so
    imageformats/libqicns.so imageformats/libqtga.so imageformats/libqtiff.so imageformats/libqwbmp.so
    imageformats/libqwebp.so
    printsupport/libcupsprintersupport.so tls/libqopensslbackend.so)

# In the package qt6-wayland. Without it the program runs on Wayland by Xwayland.
set(wayland_plugins
    platforms/libqwayland-generic.so platforms/libqwayland-egl.so
    wayland-shell-integration/libxdg-shell.so wayland-decoration-client/libbradient.so
    wayland-graphics-integration-client/libqt-plugin-wayland-egl.so)
if(EXISTS ${qt_plugins}/platforms/libqwayland-generic.so)
    list(APPEND plugins ${wayland_plugins})
else()
    message(STATUS "qt6-wayland is not installed: the archive uses Xwayland on Wayland desktops")
endif()

# Copies a library under the name that the loader looks for, without its links.
function(copy_library library folder)
    get_filename_component(name ${library} NAME)
    get_filename_component(file ${library} REALPATH)
    file(COPY ${file} DESTINATION ${folder})
    get_filename_component(file_name ${file} NAME)
    if(NOT file_name STREQUAL name)
        file(RENAME ${folder}/${file_name} ${folder}/${name})
    endif()
    sbom_add_origin(${folder}/${name} ${file})
endfunction()

# Copies the licenses of the Debian packages that contain the given files. A package
# may list its files without /usr, because /lib is a link to /usr/lib.
function(copy_licenses)
    set(files)
    foreach(file IN LISTS ARGN)
        get_filename_component(file ${file} REALPATH)
        string(REGEX REPLACE "^/usr" "" short ${file})
        list(APPEND files ${short} /usr${short})
    endforeach()
    execute_process(COMMAND dpkg-query --search ${files} OUTPUT_VARIABLE found ERROR_QUIET)
    string(REGEX MATCHALL "[^:,\n]+[^\n]*: [^\n]+" lines "${found}")
    list(LENGTH ARGN wanted)
    list(LENGTH lines known)
    if(NOT known EQUAL wanted)
        message(FATAL_ERROR "Only ${known} of ${wanted} libraries were found in Debian packages:\n${found}")
    endif()
    foreach(line IN LISTS lines)
        string(REGEX REPLACE "[:,].*" "" package "${line}")
        get_filename_component(text /usr/share/doc/${package}/copyright REALPATH)
        configure_file(${text} ${target}/licenses/${package}.txt COPYONLY)
        string(REGEX REPLACE "^.*: " "" file "${line}")
        sbom_add_package(${file} ${package})
    endforeach()
endfunction()

set(modules)
foreach(plugin IN LISTS plugins)
    if(NOT EXISTS ${qt_plugins}/${plugin})
        message(FATAL_ERROR "Qt's plugin ${plugin} is missing; see the group \"run\" in scripts/packages.txt")
    endif()
    get_filename_component(folder ${plugin} DIRECTORY)
    copy_library(${qt_plugins}/${plugin} ${target}/plugins/${folder})
    list(APPEND modules ${qt_plugins}/${plugin})
endforeach()

list(TRANSFORM programs PREPEND ${target}/)
file(GET_RUNTIME_DEPENDENCIES
    EXECUTABLES ${programs}
    MODULES ${modules}
    RESOLVED_DEPENDENCIES_VAR libraries
    PRE_EXCLUDE_REGEXES "^(${system_libraries})(-[0-9.]+)?\\.so")
foreach(library IN LISTS libraries)
    copy_library(${library} ${target}/lib)
endforeach()
copy_licenses(${modules} ${libraries})
file(GLOB icu_data ${target}/lib/libicudata.so.*)
icu_shrink_data(${icu_data})
write_sbom(${target}/sbom.spdx.json)
