cmake_minimum_required(VERSION 3.25)
# Run by ctest: holds the includes of the sources to the one-way rule of docs/architecture.md.
#
# cmake -D source_dir=... -D public_headers=zblib/a/A.h,zblib/b/B.h,... -P CheckIncludes.cmake

# Each folder may use itself and those in front of it; the first three form the base and use each other.
set(base foundation containers types)
set(order ${base} math numeric system data imaging)

# Who may include what against the order, and why: FILE>INCLUDED.
set(exceptions
    # The tokenizer keeps its set of separators in a bit field, the permutation its visited elements. The bit field
    # therefore needs no more than the base; that is checked below.
    "containers/ZbStringTokenizerGeneral.h>imaging/ZbBitfield.h"
    "data/ZbSwapDims.cpp>imaging/ZbBitfield.h"
    # Settings come from the environment, whose class has its place in system.
    "foundation/ZbMemory.cpp>system/ZbEnvironment.h"
    "foundation/ZbAssertionHandlerInit.cpp>system/ZbEnvironment.h")

string(REPLACE "," ";" public_headers "${public_headers}")

# includes_of(file result): what a file includes of the library, without "zblib/".
function(includes_of file result)
    file(STRINGS ${source_dir}/${file} lines REGEX "^ *# *include +[<\"]zblib/")
    list(TRANSFORM lines REPLACE "^ *# *include +[<\"]zblib/([^>\"]*)[>\"].*" "\\1")
    set(${result} ${lines} PARENT_SCOPE)
endfunction()

function(complain text)
    message(SEND_ERROR "${text}")
endfunction()

file(GLOB sources RELATIVE ${source_dir} ${source_dir}/zblib/*/*.h ${source_dir}/zblib/*/*.cpp)
list(LENGTH sources count)
if(count LESS 100)
    complain("only ${count} sources were found")
endif()
set(headers)
foreach(source IN LISTS sources)
    string(REGEX REPLACE "^zblib/" "" name ${source})
    string(REGEX REPLACE "/.*" "" folder ${name})
    list(FIND order ${folder} rank)
    if(rank EQUAL -1)
        complain("${source}: the folder has no place in the order")
    endif()
    includes_of(${source} includes)
    if(source MATCHES "\\.h$")
        list(APPEND headers ${name})
        set(includes_${name} ${includes})
    endif()
    foreach(include IN LISTS includes)
        string(REGEX REPLACE "/.*" "" used ${include})
        list(FIND order ${used} used_rank)
        if(folder IN_LIST base AND used IN_LIST base)
            continue()
        endif()
        if((used_rank EQUAL -1 OR used_rank GREATER rank) AND NOT "${name}>${include}" IN_LIST exceptions)
            complain("${source} includes ${include}, which lies above it")
        endif()
        if(name MATCHES "^imaging/ZbBitfield" AND NOT include MATCHES "^(foundation/|imaging/ZbBitfield|math/ZbMath.h$)")
            complain("${source} includes ${include}, but folders below use the bit field: it may need foundation and math/ZbMath.h only")
        endif()
    endforeach()
endforeach()

# No header reaches itself: those whose includes are all settled are settled, until none is left.
while(headers)
    set(left)
    foreach(header IN LISTS headers)
        set(open ${includes_${header}})
        list(FILTER open INCLUDE REGEX "\\.h$")
        set(is_settled ON)
        foreach(include IN LISTS open)
            if(include IN_LIST headers)
                set(is_settled OFF)
            endif()
        endforeach()
        if(NOT is_settled)
            list(APPEND left ${header})
        endif()
    endforeach()
    if(left STREQUAL headers)
        list(JOIN left ", " text)
        complain("these headers include each other in a circle, or need one that does: ${text}")
        break()
    endif()
    set(headers ${left})
endwhile()

# What users see, and the tool, use public headers only.
file(GLOB users RELATIVE ${source_dir} ${source_dir}/tools/*/*.h ${source_dir}/tools/*/*.cpp ${source_dir}/examples/*.cpp)
foreach(user IN LISTS users public_headers)
    includes_of(${user} includes)
    foreach(include IN LISTS includes)
        if(NOT zblib/${include} IN_LIST public_headers)
            complain("${user} includes ${include}, which is not installed")
        endif()
    endforeach()
endforeach()
