# The target "docs": the pages of the public headers, in docs/html of the build folder, with Doxygen.
find_program(ZBLIB_DOXYGEN doxygen)
mark_as_advanced(ZBLIB_DOXYGEN)
if(ZBLIB_DOXYGEN)
    set(zblib_docs_dir ${PROJECT_BINARY_DIR}/docs)
    get_target_property(zblib_docs_headers zblib HEADER_SET)
    file(GLOB zblib_docs_pages ${PROJECT_SOURCE_DIR}/docs/*.md)
    list(JOIN zblib_docs_headers " " zblib_docs_input)
    list(JOIN zblib_docs_pages " " zblib_docs_more)
    foreach(page README CONTRIBUTING CHANGELOG)
        string(APPEND zblib_docs_input " ${PROJECT_SOURCE_DIR}/${page}.md")
    endforeach()
    string(APPEND zblib_docs_input " ${zblib_docs_more}")
    configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${zblib_docs_dir}/Doxyfile @ONLY)
    add_custom_target(docs
        COMMAND ${CMAKE_COMMAND} -D doxygen=${ZBLIB_DOXYGEN} -D folder=${zblib_docs_dir}
            -P ${PROJECT_SOURCE_DIR}/cmake/RunDoxygen.cmake
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} COMMENT "Writing ${zblib_docs_dir}/html/index.html" VERBATIM)
endif()
