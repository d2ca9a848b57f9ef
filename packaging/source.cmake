# Run by cpack for the source archive: exactly the files of the last commit, whatever
# else is in the folder. Settings of the user's git must not change the bytes.
get_filename_component(source ${CMAKE_CURRENT_LIST_DIR} DIRECTORY)
set(archive ${CPACK_TOPLEVEL_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.tar.gz)
file(MAKE_DIRECTORY ${CPACK_TOPLEVEL_DIRECTORY})
execute_process(
    COMMAND git -c safe.directory=${source} -c tar.umask=0022 -c "tar.tar.gz.command=gzip --best --no-name --stdout"
        -C ${source} archive --format=tar.gz --prefix=${CPACK_PACKAGE_FILE_NAME}/ --output=${archive} HEAD
    RESULT_VARIABLE failed)
if(failed)
    message(FATAL_ERROR "The source archive is made from the last commit, so it needs git and a clone: ${source}")
endif()
set(CPACK_EXTERNAL_BUILT_PACKAGES ${archive})
