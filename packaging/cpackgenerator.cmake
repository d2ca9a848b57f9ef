# Read by cpack for each generator.

# All files in the packages have the time of the commit, so that whoever builds the
# same commit gets the same bytes.
include(${CMAKE_CURRENT_LIST_DIR}/committime.cmake)
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    quillmarch_commit_time(time)
    set(ENV{SOURCE_DATE_EPOCH} ${time})
endif()

if(CPACK_GENERATOR STREQUAL "DEB")
    set(CPACK_COMPONENTS_ALL system batch)
    set(CPACK_COMPONENTS_GROUPING IGNORE)
else()
    set(CPACK_COMPONENTS_ALL portable)
    set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
endif()
