# Run by ctest; see CMakeLists.txt beside this file.
function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${work_dir})
set(prefix ${work_dir}/prefix)
run(${CMAKE_COMMAND} --install ${build_dir} --prefix ${prefix})
set(ENV{LD_LIBRARY_PATH} "${prefix}/${libdir}:$ENV{LD_LIBRARY_PATH}")
set(ENV{PKG_CONFIG_PATH} "${prefix}/${libdir}/pkgconfig")

# expect_objects(way): runs the consumer that was built that way.
function(expect_objects way)
    execute_process(COMMAND ${work_dir}/${way}/consumer OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
    if(NOT output MATCHES "objects: 2\n")
        message(FATAL_ERROR "the consumer printed '${output}', expected two objects")
    endif()
endfunction()

foreach(way find_package pkg_config)
    run(${CMAKE_COMMAND} -G Ninja -S ${source_dir}/consumer -B ${work_dir}/${way}
        -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_CXX_COMPILER=${compiler} -D CMAKE_CXX_FLAGS=${flags}
        -D CONSUMER_WAY=${way} -D CONSUMER_PREFIX=${prefix})
    run(${CMAKE_COMMAND} --build ${work_dir}/${way})
    expect_objects(${way})
endforeach()

# As a part of another project, without optimisation, for the sake of time.
unset(ENV{LD_LIBRARY_PATH})
run(${CMAKE_COMMAND} -G Ninja -S ${source_dir}/consumer -B ${work_dir}/add_subdirectory
    -D CMAKE_CXX_COMPILER=${compiler} -D CMAKE_CXX_FLAGS=${flags} -D CONSUMER_WAY=add_subdirectory)
if(build_subdirectory)
    run(${CMAKE_COMMAND} --build ${work_dir}/add_subdirectory --target consumer)
    expect_objects(add_subdirectory)
endif()
