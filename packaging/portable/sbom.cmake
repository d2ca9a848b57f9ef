# Writes the list of what is in the archive (SPDX 2.3): every file with its sums, and
# the Debian package that each library comes from.

# Notes that a file of the archive is a copy of a file of the system.
function(sbom_add_origin file origin)
    string(REGEX REPLACE "^/usr" "" origin ${origin})
    set_property(GLOBAL PROPERTY "sbom origin ${file}" ${origin})
endfunction()

# Notes which Debian package a file of the system belongs to.
function(sbom_add_package origin package)
    string(REGEX REPLACE "^/usr" "" origin ${origin})
    set_property(GLOBAL PROPERTY "sbom package ${origin}" ${package})
endfunction()

# Sets the variable to the package of a file in the archive: the program, or a Debian package.
function(sbom_package_of file result)
    get_property(origin GLOBAL PROPERTY "sbom origin ${file}")
    set(package quillmarch)
    if(origin)
        get_property(package GLOBAL PROPERTY "sbom package ${origin}")
    endif()
    set(${result} ${package} PARENT_SCOPE)
endfunction()

# An identifier may contain letters, digits, dots and hyphens only.
function(sbom_id prefix text result)
    string(REGEX REPLACE "[^A-Za-z0-9.-]" "-" id "${text}")
    set(${result} "SPDXRef-${prefix}-${id}" PARENT_SCOPE)
endfunction()

function(sbom_describe_package package result)
    sbom_id(Package ${package} id)
    set(reference "")
    set(package_version ${version})
    if(NOT package STREQUAL "quillmarch")
        execute_process(COMMAND dpkg-query --show --showformat "\${Version} \${Architecture}\n" ${package}
            OUTPUT_VARIABLE found COMMAND_ERROR_IS_FATAL ANY)
        string(REGEX MATCH "^([^ ]+) ([^\n]+)" found "${found}")
        set(package_version ${CMAKE_MATCH_1})
        set(architecture ${CMAKE_MATCH_2})
        string(REPLACE "+" "%2B" encoded ${package_version})
        string(REPLACE ":" "%3A" encoded ${encoded})
        string(CONCAT reference ", \"externalRefs\": [{\"referenceCategory\": \"PACKAGE-MANAGER\", "
            "\"referenceType\": \"purl\", "
            "\"referenceLocator\": \"pkg:deb/debian/${package}@${encoded}?arch=${architecture}\"}]")
    endif()
    string(CONCAT json "{\"SPDXID\": \"${id}\", \"name\": \"${package}\", \"versionInfo\": \"${package_version}\", "
        "\"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": false${reference}}")
    set(${result} "${json}" PARENT_SCOPE)
endfunction()

function(sbom_describe_file path id result)
    file(SHA1 ${target}/${path} sha1)
    file(SHA256 ${target}/${path} sha256)
    string(CONCAT json "{\"SPDXID\": \"${id}\", \"fileName\": \"./${path}\", \"checksums\": "
        "[{\"algorithm\": \"SHA1\", \"checksumValue\": \"${sha1}\"}, "
        "{\"algorithm\": \"SHA256\", \"checksumValue\": \"${sha256}\"}]}")
    set(${result} "${json}" PARENT_SCOPE)
endfunction()

function(sbom_describe_relation from type to result)
    string(CONCAT json "    {\"spdxElementId\": \"${from}\", \"relationshipType\": \"${type}\", "
        "\"relatedSpdxElement\": \"${to}\"}")
    set(${result} "${json}" PARENT_SCOPE)
endfunction()

# Describes all files below the folder of the archive. The list itself is not in it.
function(write_sbom output)
    file(GLOB_RECURSE paths LIST_DIRECTORIES false RELATIVE ${target} ${target}/*)
    list(SORT paths)
    set(files "")
    sbom_describe_relation(SPDXRef-DOCUMENT DESCRIBES SPDXRef-Package-quillmarch relations)
    set(found quillmarch)
    foreach(path IN LISTS paths)
        sbom_package_of(${target}/${path} package)
        list(APPEND found ${package})
        sbom_id(File ${path} id)
        sbom_id(Package ${package} package_id)
        sbom_describe_file(${path} ${id} json)
        string(APPEND files "    ${json},\n")
        sbom_describe_relation(${package_id} CONTAINS ${id} json)
        string(APPEND relations ",\n${json}")
    endforeach()
    list(REMOVE_DUPLICATES found)
    list(SORT found)
    set(packages "")
    foreach(package IN LISTS found)
        sbom_describe_package(${package} json)
        string(APPEND packages "    ${json},\n")
    endforeach()
    string(REGEX REPLACE ",\n$" "" files "${files}")
    string(REGEX REPLACE ",\n$" "" packages "${packages}")
    string(SHA256 content "${files}${packages}")
    string(TIMESTAMP time UTC)
    file(WRITE ${output} "{
  \"spdxVersion\": \"SPDX-2.3\",
  \"dataLicense\": \"CC0-1.0\",
  \"SPDXID\": \"SPDXRef-DOCUMENT\",
  \"name\": \"${name}\",
  \"documentNamespace\": \"${web_site}/sbom/${name}-${content}\",
  \"creationInfo\": {\"created\": \"${time}\", \"creators\": [\"Organization: The Quillmarch authors\"]},
  \"packages\": [
${packages}
  ],
  \"files\": [
${files}
  ],
  \"relationships\": [
${relations}
  ]
}
")
endfunction()
