# Run at every build: writes the revision of source_dir and its tag into output, one KEY=VALUE a line. The file is only
# touched when they change, so that nothing is linked anew without a reason.
set(revision 0000000000000000000000000000000000000000)
set(tag "\\")

# A folder may lie in a repository that does not hold it, and a hook of git's names another repository than that of
# the folder.
set(git ${CMAKE_COMMAND} -E env --unset=GIT_DIR --unset=GIT_WORK_TREE --unset=GIT_INDEX_FILE
    git -C ${source_dir})
execute_process(COMMAND ${git} ls-files --error-unmatch CMakeLists.txt RESULT_VARIABLE failed OUTPUT_QUIET ERROR_QUIET)
if(NOT failed)
    execute_process(COMMAND ${git} rev-parse --verify HEAD OUTPUT_VARIABLE head ERROR_QUIET)
    # Hashes of the longer kind are cut.
    string(REGEX MATCH "^[0-9a-f]+" head "${head}")
    string(LENGTH "${head}" length)
    if(length GREATER_EQUAL 40)
        string(SUBSTRING ${head} 0 40 revision)
        execute_process(COMMAND ${git} describe --tags --exact-match OUTPUT_VARIABLE described
            OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
        # A tag may be called "0" or "no", which if(described) takes for false.
        if(NOT described STREQUAL "")
            set(tag ${described})
        endif()
    endif()
endif()

file(WRITE ${output}.new "comment=${revision}\nversion_tag=${tag}\n")
file(COPY_FILE ${output}.new ${output} ONLY_IF_DIFFERENT)
file(REMOVE ${output}.new)
