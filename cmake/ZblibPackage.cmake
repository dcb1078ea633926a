# Debian packages, one for each component that is installed: `./build.sh package`, or cpack in a tree of the preset
# "package".
set(ZBLIB_PACKAGE_CONTACT "The zblib developers <zblib@localhost>" CACHE STRING "Maintainer in the Debian packages")
mark_as_advanced(ZBLIB_PACKAGE_CONTACT)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zblib)
set(CPACK_PACKAGE_CONTACT ${ZBLIB_PACKAGE_CONTACT})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_VERBATIM_VARIABLES ON)
# The linker has stripped the files already: the build record tells the size that the library has as linked.
set(CPACK_STRIP_FILES OFF)
set(CPACK_COMPONENTS_ALL runtime development tool)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# Dependencies are asked of the shared objects themselves.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/zblib)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(zblib_package libzblib${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${zblib_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Containers, run-time types, typed raw data, histograms, bit fields and
connected-component labelling for volume images.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzblib-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${zblib_package} (= ${PROJECT_VERSION}), qt6-base-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "The headers, with the files for find_package(zblib) and pkg-config, and
pretty-printers for gdb.")

# The package of the library is made in the same run, so its shlibs file is not there to be asked yet.
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME zbvolume)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${zblib_package} (>= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "The command-line tool zbvolume: statistics, histograms, objects and their
sizes, of NIfTI and raw files.")

foreach(component runtime development tool)
    string(TOUPPER ${component} upper)
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE COMPONENT ${component} RENAME copyright
        DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
endforeach()

include(CPack)
