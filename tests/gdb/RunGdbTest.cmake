# Run by ctest; see CMakeLists.txt beside this file.
# Containers may also forbid to switch off the randomisation of addresses, which nothing here needs.
file(STRINGS ${source_dir}/ValuesExpected.txt expected)
set(commands)
foreach(line IN LISTS expected)
    if(line MATCHES "^([a-zA-Z]+) = ")
        list(APPEND commands -ex "printf \"${CMAKE_MATCH_1} = \"" -ex "output ${CMAKE_MATCH_1}" -ex "echo \\n")
    endif()
endforeach()
execute_process(COMMAND ${gdb} --nx --batch -iex "add-auto-load-safe-path ${library_dir}"
    -iex "set disable-randomization off" -iex "set debuginfod enabled off" -iex "set width 0"
    -ex "break stopHere" -ex run -ex up ${commands} ${program}
    OUTPUT_VARIABLE output ERROR_VARIABLE errors)
string(REGEX REPLACE "0x[0-9a-f]+" "ADDRESS" output "${output}")
foreach(line IN LISTS expected)
    string(FIND "\n${output}" "\n${line}\n" place)
    if(place EQUAL -1)
        message(SEND_ERROR "expected: ${line}")
    endif()
endforeach()
message("gdb printed:\n${output}${errors}")
