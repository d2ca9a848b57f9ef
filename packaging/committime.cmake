# Sets the variable to the time of the commit in seconds since 1970: from git, or in an
# unpacked source archive from the file in which git archive wrote it.
function(quillmarch_commit_time result)
    file(STRINGS ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/commit-time.txt time)
    if(NOT time MATCHES "^[0-9]+$")
        get_filename_component(source ${CMAKE_CURRENT_FUNCTION_LIST_DIR} DIRECTORY)
        execute_process(COMMAND git -c safe.directory=${source} -C ${source} log -1 --format=%ct
            OUTPUT_VARIABLE time OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
    endif()
    if(NOT time MATCHES "^[0-9]+$")
        message(FATAL_ERROR "The time of the commit is unknown; set SOURCE_DATE_EPOCH")
    endif()
    set(${result} ${time} PARENT_SCOPE)
endfunction()
