# Reads releases.json, whose newest release must be the version of the project, and
# sets the lists of releases for the packages:
#   QUILLMARCH_METAINFO_RELEASES   elements of the AppStream document
#   QUILLMARCH_DEBIAN_CHANGELOG    the changelog of the Debian package
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/releases.json)
file(READ ${CMAKE_CURRENT_SOURCE_DIR}/releases.json releases)

function(quillmarch_xml_escape text result)
    string(REPLACE "&" "&amp;" text "${text}")
    string(REPLACE "<" "&lt;" text "${text}")
    string(REPLACE ">" "&gt;" text "${text}")
    set(${result} "${text}" PARENT_SCOPE)
endfunction()

# Converts a date such as 2026-11-21 to the format of RFC 5322.
function(quillmarch_mail_date date result)
    execute_process(COMMAND env LC_ALL=C date --utc --date ${date} "+%a, %d %b %Y %T +0000"
        OUTPUT_VARIABLE text OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    set(${result} "${text}" PARENT_SCOPE)
endfunction()

string(JSON version GET "${releases}" releases 0 version)
if(NOT version STREQUAL PROJECT_VERSION)
    message(FATAL_ERROR
        "The newest release in packaging/releases.json is ${version}, the project's version is ${PROJECT_VERSION}")
endif()

set(QUILLMARCH_METAINFO_RELEASES "")
set(QUILLMARCH_DEBIAN_CHANGELOG "")
string(JSON count LENGTH "${releases}" releases)
math(EXPR last "${count} - 1")
foreach(i RANGE ${last})
    string(JSON version GET "${releases}" releases ${i} version)
    string(JSON date GET "${releases}" releases ${i} date)
    string(APPEND QUILLMARCH_METAINFO_RELEASES
        "    <release version=\"${version}\" date=\"${date}\">\n      <description>\n        <ul>\n")
    string(APPEND QUILLMARCH_DEBIAN_CHANGELOG "quillmarch (${version}) unstable; urgency=medium\n\n")
    string(JSON notes LENGTH "${releases}" releases ${i} notes en)
    math(EXPR last_note "${notes} - 1")
    foreach(j RANGE ${last_note})
        string(JSON note GET "${releases}" releases ${i} notes en ${j})
        quillmarch_xml_escape("${note}" escaped)
        string(APPEND QUILLMARCH_METAINFO_RELEASES "          <li>${escaped}</li>\n")
        string(APPEND QUILLMARCH_DEBIAN_CHANGELOG "  * ${note}\n")
    endforeach()
    string(APPEND QUILLMARCH_METAINFO_RELEASES "        </ul>\n      </description>\n    </release>\n")
    if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
        quillmarch_mail_date(${date} mail_date)
        string(APPEND QUILLMARCH_DEBIAN_CHANGELOG
            "\n -- The Quillmarch authors <${QUILLMARCH_CONTACT}>  ${mail_date}\n\n")
    endif()
endforeach()
