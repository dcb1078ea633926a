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

# The package initialises the class of CPU devices where the toolkit has one; Coin has none.
if(ZBLIB_HAVE_INVENTOR)
    include(CheckCXXSourceCompiles)
    set(CMAKE_REQUIRED_LIBRARIES Coin::Coin)
    check_cxx_source_compiles("#include <Inventor/devices/SoCpuDevice.h>
        int main() { SoCpuDevice::initClass(); }" ZBLIB_HAVE_CPU_DEVICE)
    unset(CMAKE_REQUIRED_LIBRARIES)
endif()
message(STATUS "zblib: scene-graph conversions: ${ZBLIB_HAVE_INVENTOR}")
