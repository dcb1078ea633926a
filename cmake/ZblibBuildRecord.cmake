# The build record of the library: what a host reads through keldapackage_zblib().
#
# It is written into the shared object after each link. A build in the same folder with SOURCE_DATE_EPOCH and with these
# fixed gives the same file again, byte for byte.
set(ZBLIB_BUILD_USER "" CACHE STRING "Account in the build record; empty: the one that builds")
set(ZBLIB_BUILD_HOST "" CACHE STRING "Machine in the build record; empty: the one that builds")
set(ZBLIB_VENDOR "The zblib developers" CACHE STRING "Vendor in the build record")
set(ZBLIB_PRODUCT "zblib" CACHE STRING "Product in the build record, the one that the library ships with")
mark_as_advanced(ZBLIB_BUILD_USER ZBLIB_BUILD_HOST ZBLIB_VENDOR ZBLIB_PRODUCT)

set(zblib_build_record_dir ${CMAKE_CURRENT_LIST_DIR})

# zb_write_build_record(target source_dir): target is the shared library that holds the record, source_dir the folder
# whose revision the record names.
function(zb_write_build_record target source_dir)
    add_executable(${target}_write_build_record ${zblib_build_record_dir}/WriteBuildRecord.cpp)
    zb_target_defaults(${target}_write_build_record)
    target_include_directories(${target}_write_build_record PRIVATE ${zblib_build_record_dir}/..)
    # It runs while the library is built, where a sanitizer has nothing to look for.
    target_compile_options(${target}_write_build_record PRIVATE -fno-sanitize=all)
    target_link_options(${target}_write_build_record PRIVATE -fno-sanitize=all)

    set(revision ${CMAKE_CURRENT_BINARY_DIR}/${target}_revision.txt)
    add_custom_target(${target}_revision
        COMMAND ${CMAKE_COMMAND} -D source_dir=${source_dir} -D output=${revision}
            -P ${zblib_build_record_dir}/SourceRevision.cmake
        BYPRODUCTS ${revision} COMMENT "Asking for the revision of the source" VERBATIM)
    add_dependencies(${target} ${target}_revision)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${revision})

    set(compiler ${CMAKE_CXX_COMPILER_ID})
    if(compiler STREQUAL "GNU")
        set(compiler gcc)
    endif()
    string(TOLOWER ${compiler} compiler)
    math(EXPR bits "8 * ${CMAKE_SIZEOF_VOID_P}")
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${target}_write_build_record $<TARGET_FILE:${target}> @${revision}
            "compiler=${compiler} ${CMAKE_CXX_COMPILER_VERSION}"
            "target_os=${CMAKE_SYSTEM_NAME} ${bits}bit"
            build_cfg=$<IF:$<STREQUAL:$<CONFIG>,>,None,$<CONFIG>>
            "build_user=${ZBLIB_BUILD_USER}"
            "build_ip=${ZBLIB_BUILD_HOST}"
            filename=$<TARGET_FILE_PREFIX:${target}>$<TARGET_FILE_BASE_NAME:${target}>$<TARGET_FILE_SUFFIX:${target}>
            "vendor=${ZBLIB_VENDOR}"
            "product=${ZBLIB_PRODUCT}"
            version_major=${PROJECT_VERSION_MAJOR}
            version_minor=${PROJECT_VERSION_MINOR}
            version_patch=${PROJECT_VERSION_PATCH}
        VERBATIM)
endfunction()
