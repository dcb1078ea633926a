# Run by ctest; see CMakeLists.txt beside this file.
function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(project ${work_dir}/project)
set(build ${work_dir}/build)
set(library ${build}/librecord.so)

# configure(option...): a new build folder.
function(configure)
    file(REMOVE_RECURSE ${build})
    run(${CMAKE_COMMAND} -G Ninja -S ${project} -B ${build} -D CMAKE_CXX_COMPILER=${compiler}
        -D CMAKE_CXX_FLAGS=${flags} -D CMAKE_BUILD_TYPE=Release -D ZBLIB_SOURCE_DIR=${zblib_source_dir} ${ARGN})
endfunction()

# expect_record(expression): what stands in the library, with SIZE for the size of the file.
function(expect_record expression)
    file(SIZE ${library} size)
    string(REPLACE SIZE ${size} expression ${expression})
    file(STRINGS ${library} record REGEX "\\|version_tag\\|")
    if(NOT record MATCHES "^[^|]*${expression}$")
        message(FATAL_ERROR "the record is '${record}', expected '${expression}'")
    endif()
endfunction()

file(REMOVE_RECURSE ${work_dir})
file(COPY ${source_dir}/record/CMakeLists.txt DESTINATION ${project})

# The same input twice gives the same file. The project lies in a folder that the repository around it ignores.
set(ENV{SOURCE_DATE_EPOCH} 1505044934)
set(fixed -D ZBLIB_BUILD_USER=someone -D ZBLIB_BUILD_HOST=somewhere)
configure(${fixed} "-D ZBLIB_VENDOR=No|bars")
run(${CMAKE_COMMAND} --build ${build})
string(CONCAT expected
    [[\|version_tag\|\\\|comment\|0000000000000000000000000000000000000000\|compiler\|[a-z]+ [0-9.]+]]
    [[\|target_os\|Linux 64bit\|build_cfg\|Release\|build_user\|someone\|build_ip\|somewhere]]
    [[\|build_time\|2017-09-10 12:02:14\|filename\|librecord.so\|path\|[^|]*/build\|size\|SIZE]]
    [[\|vendor\|No_bars\|product\|zblib\|version_major\|7\|version_minor\|8\|version_patch\|9]])
expect_record(${expected})
file(COPY ${library} DESTINATION ${work_dir}/first)
configure(${fixed} "-D ZBLIB_VENDOR=No|bars")
run(${CMAKE_COMMAND} --build ${build})
run(${CMAKE_COMMAND} -E compare_files ${library} ${work_dir}/first/librecord.so)

# A moment that cannot be read fails the build.
set(ENV{SOURCE_DATE_EPOCH} "1505044934 ")
configure(${fixed})
execute_process(COMMAND ${CMAKE_COMMAND} --build ${build} RESULT_VARIABLE failed OUTPUT_VARIABLE output)
if(NOT failed OR NOT output MATCHES "SOURCE_DATE_EPOCH is '1505044934 ', expected seconds since 1970")
    message(FATAL_ERROR "a wrong SOURCE_DATE_EPOCH was taken: ${output}")
endif()
unset(ENV{SOURCE_DATE_EPOCH})

# In a repository: an unchanged source is linked anew when its revision changes.
find_program(git git)
if(git)
    set(in_project ${git} -C ${project})
    set(commit ${in_project} -c user.name=Someone -c user.email=someone@example.org -c commit.gpgsign=false commit -q --allow-empty)
    run(${in_project} init -q)
    run(${in_project} add CMakeLists.txt)
    run(${commit} -m First)
    configure()
    foreach(tag first-tag no [[\\]])  # the last: a revision without a tag
        if(NOT tag STREQUAL [[\\]])
            run(${in_project} tag ${tag})
        endif()
        execute_process(COMMAND ${in_project} rev-parse HEAD OUTPUT_VARIABLE head OUTPUT_STRIP_TRAILING_WHITESPACE)
        run(${CMAKE_COMMAND} --build ${build})
        expect_record("\\|version_tag\\|${tag}\\|comment\\|${head}\\|compiler\\|.*\\|size\\|SIZE\\|vendor\\|.*")
        run(${commit} -m Second)
    endforeach()
endif()
