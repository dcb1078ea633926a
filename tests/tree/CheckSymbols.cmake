cmake_minimum_required(VERSION 3.25)
# Compares the symbols that the library exports with the list in the tree, or, with -D update=ON, writes the list.
#
# cmake -D nm=nm -D library=libzblib.so -D list=ExportedSymbols.txt [-D update=ON] -P CheckSymbols.cmake
#
# Names are demangled, so that people can read them, and sorted. Instances of the standard library's templates are left
# out: which of them a compiler does not inline is its own affair.
execute_process(COMMAND ${nm} -D --defined-only -C ${library} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "(^|\n)[0-9a-f]+ [A-Za-z] " "\\1" symbols "${symbols}")
# What disturbs lists.
string(REPLACE "[" "<open>" symbols "${symbols}")
string(REPLACE "]" "<close>" symbols "${symbols}")
string(REPLACE ";" "<semicolon>" symbols "${symbols}")
string(REPLACE "\n" ";" symbols "${symbols}")
list(FILTER symbols EXCLUDE REGEX "^((vtable|typeinfo|typeinfo name|VTT) for |[^( ]+ )?(std|__gnu_cxx)::")
list(REMOVE_ITEM symbols "")
list(SORT symbols)
list(REMOVE_DUPLICATES symbols)  # constructors have several entry points of one name
list(JOIN symbols "\n" text)
string(REPLACE "<open>" "[" text "${text}")
string(REPLACE "<close>" "]" text "${text}")

if(update)
    file(WRITE ${list} "${text}\n")
    return()
endif()
file(READ ${list} expected)
if(NOT expected STREQUAL "${text}\n")
    file(WRITE exported.txt "${text}\n")
    execute_process(COMMAND diff -U 0 ${list} exported.txt OUTPUT_VARIABLE difference)
    message(FATAL_ERROR "The exported symbols have changed. Removed or changed symbols break programs that are built "
        "already, and ask for a new SOVERSION. If all of this is meant, run ./build.sh symbols and commit the list.\n"
        "${difference}")
endif()
