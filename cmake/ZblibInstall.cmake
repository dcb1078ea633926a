# The installed package: find_package(zblib 1 CONFIG) and pkg-config zblib.
include(CMakePackageConfigHelpers)

set(zblib_config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zblib)

install(TARGETS zblib EXPORT zblibTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT zblibTargets NAMESPACE zblib:: DESTINATION ${zblib_config_dir} COMPONENT development)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/zblibConfig.cmake.in
    ${PROJECT_BINARY_DIR}/zblibConfig.cmake INSTALL_DESTINATION ${zblib_config_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zblibConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zblibConfig.cmake ${PROJECT_BINARY_DIR}/zblibConfigVersion.cmake
    DESTINATION ${zblib_config_dir} COMPONENT development)

# Absolute installation folders stand as they are; relative ones hang below the prefix, which pkg-config may move.
foreach(kind LIBDIR INCLUDEDIR)
    cmake_path(IS_ABSOLUTE CMAKE_INSTALL_${kind} absolute)
    if(absolute)
        set(zblib_pc_${kind} ${CMAKE_INSTALL_${kind}})
    else()
        set(zblib_pc_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
    endif()
endforeach()
# The prefix is not known before the installation, so the file finds it from where it lies.
file(RELATIVE_PATH zblib_pc_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
cmake_path(IS_ABSOLUTE CMAKE_INSTALL_LIBDIR absolute)
if(absolute)
    set(zblib_pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
    set(zblib_pc_prefix "\${pcfiledir}/${zblib_pc_prefix}")
endif()
set(zblib_pc_cflags "")
if(ZBLIB_HAVE_INVENTOR)
    set(zblib_pc_cflags " -DZBLIB_HAVE_INVENTOR=1")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/zblib.pc.in ${PROJECT_BINARY_DIR}/zblib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zblib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# gdb looks for the pretty-printers of a library in share/gdb/auto-load, under the library's full path, which is known
# when it is installed. (Beside the library they would be in the way of ldconfig.)
set(zblib_gdb_script libzblib.so.${PROJECT_VERSION}-gdb.py)
install(CODE "
    set(libdir \"${CMAKE_INSTALL_LIBDIR}\")
    cmake_path(ABSOLUTE_PATH libdir BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
    set(gdbdir \"${CMAKE_INSTALL_DATADIR}/gdb/auto-load\")
    cmake_path(ABSOLUTE_PATH gdbdir BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
    file(INSTALL DESTINATION \"\${gdbdir}\${libdir}\" TYPE FILE RENAME ${zblib_gdb_script}
        FILES \"${PROJECT_SOURCE_DIR}/tools/gdb/zblib-gdb.py\")"
    COMPONENT development)
