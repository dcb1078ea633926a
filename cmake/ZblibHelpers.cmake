# What every target of the project gets: warnings, and arithmetic that does not depend on the machine.
function(zb_target_defaults target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    # A result must not depend on whether the machine has fused multiply-add. Nobody traps floating-point exceptions
    # or reads errno after a mathematical function; with that said, GCC vectorises clamps and roots. Results stay.
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -ffp-contract=off -fno-trapping-math -fno-math-errno
        $<$<BOOL:${ZBLIB_WERROR}>:-Werror>)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
endfunction()

# zb_library_sources(HEADERS public.h... SOURCES x.cpp private.h...): adds files of one subsystem to the library.
function(zb_library_sources)
    cmake_parse_arguments(arg "" "" "HEADERS;SOURCES" ${ARGN})
    if(arg_HEADERS)
        list(TRANSFORM arg_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
        target_sources(zblib PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${arg_HEADERS})
    endif()
    if(arg_SOURCES)
        list(TRANSFORM arg_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
        target_sources(zblib PRIVATE ${arg_SOURCES})
    endif()
endfunction()

# zb_add_tests(name file.cpp... [BASELINE]): one GoogleTest binary a subsystem. With BASELINE it runs a second time
# with the kernels for the plain instruction set, so that both forms of every kernel are held to the same results.
function(zb_add_tests name)
    cmake_parse_arguments(arg "BASELINE" "" "" ${ARGN})
    add_executable(test_${name} ${arg_UNPARSED_ARGUMENTS})
    zb_target_defaults(test_${name})
    target_link_libraries(test_${name} PRIVATE zblib::zblib zblib_test_support GTest::gmock GTest::gtest_main)
    add_test(NAME ${name} COMMAND test_${name})
    if(arg_BASELINE)
        add_test(NAME ${name}.baseline COMMAND test_${name})
        set_tests_properties(${name}.baseline PROPERTIES ENVIRONMENT "HX_CPU_LEVEL=baseline")
    endif()
endfunction()

# zb_add_bench(name file.cpp...): one Google Benchmark program.
function(zb_add_bench name)
    add_executable(bench_${name} ${ARGN})
    zb_target_defaults(bench_${name})
    target_link_libraries(bench_${name} PRIVATE
        zblib::zblib OpenMP::OpenMP_CXX benchmark::benchmark benchmark::benchmark_main)
endfunction()
