# Runs Doxygen and fails on every warning but one: that a function, a member or an alias has no comment. Their names may
# say all, or one comment may stand for several of them. A class without a comment is an error.
execute_process(COMMAND ${doxygen} ${folder}/Doxyfile RESULT_VARIABLE failed)
file(STRINGS ${folder}/warnings.txt warnings)
list(FILTER warnings EXCLUDE REGEX "warning: Member .* is not documented")
if(failed OR warnings)
    list(JOIN warnings "\n" text)
    message(FATAL_ERROR "Doxygen complains:\n${text}")
endif()
