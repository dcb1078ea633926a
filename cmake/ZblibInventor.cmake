# Coin is optional: with it, the vector headers convert to and from the scene graph's value types.
# Its target is global because users of zblib evaluate it, in a project around this one too.
set(ZBLIB_HAVE_INVENTOR OFF)
if(ZBLIB_INVENTOR STREQUAL "AUTO")
    find_package(Coin CONFIG QUIET GLOBAL)
    set(ZBLIB_HAVE_INVENTOR ${Coin_FOUND})
elseif(ZBLIB_INVENTOR)
    find_package(Coin CONFIG REQUIRED GLOBAL)
    set(ZBLIB_HAVE_INVENTOR ON)
endif()
message(STATUS "zblib: scene-graph conversions: ${ZBLIB_HAVE_INVENTOR}")
