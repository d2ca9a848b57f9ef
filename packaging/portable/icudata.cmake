# Replaces the copied data of ICU by the part that Qt uses here: the collation of names
# in file dialogs, in the order of all languages, Chinese and English, and the tables for
# all characters. The rest, ten times as much, is time zones, currencies, spell-out rules
# and code pages. Without the tools everything stays, and a message says so.

# What stays, as a regular expression.
set(icu_kept "coll/(root|res_index|zh|en)\\.res|coll/ucadata\\.icu"
    "(pool|root|res_index|zh|zh_Hans|zh_Hans_CN|en|en_US)\\.res"
    "(cnvalias|uemoji|ulayout)\\.icu" "[^/]*\\.nrm")
list(JOIN icu_kept "|" icu_kept)

function(icu_run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Writes the items of the package `data` that are not kept to the file `list`.
function(icu_list_needless icupkg data list)
    execute_process(COMMAND ${icupkg} --list ${data} OUTPUT_VARIABLE items COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[^\n]+" items "${items}")
    list(FILTER items EXCLUDE REGEX "^(${icu_kept})$")
    list(JOIN items "\n" items)
    file(WRITE ${list} "${items}\n")
endfunction()

# The library contains nothing but one symbol with all of the data.
function(icu_shrink_data library)
    find_program(icupkg icupkg PATHS /usr/sbin)
    if(NOT icupkg OR NOT compiler OR NOT objcopy)
        message(STATUS "icu-devtools is not installed: the archive contains all data of ICU")
        return()
    endif()
    get_filename_component(name ${library} NAME)
    string(REGEX REPLACE ".*\\.so\\." "" version ${name})
    set(work ${library}.work)
    file(MAKE_DIRECTORY ${work}/all)
    set(all ${work}/all/icudt${version}l.dat)
    set(part ${work}/icudt${version}l.dat) # icupkg writes this name into the data
    icu_run(${objcopy} -O binary --only-section=.rodata ${library} ${all})
    icu_list_needless(${icupkg} ${all} ${work}/needless.txt)
    icu_run(${icupkg} --remove ${work}/needless.txt ${all} ${part})
    file(WRITE ${work}/data.S "
        .section .rodata
        .balign 16
        .globl icudt${version}_dat
        .type icudt${version}_dat, @object
    icudt${version}_dat:
        .incbin \"${part}\"
        .size icudt${version}_dat, . - icudt${version}_dat
        .section .note.GNU-stack, \"\"
    ")
    icu_run(${compiler} -shared -nostdlib -s -Wl,--build-id=none -Wl,-soname,${name} -o ${library} ${work}/data.S)
    file(REMOVE_RECURSE ${work})
endfunction()
