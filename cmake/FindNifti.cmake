# niftiio: the target Nifti::nifti2 reads and writes NIfTI headers and (compressed) files.
# The packages split headers and libraries in ways that their own CMake files do not follow everywhere.
find_path(Nifti_INCLUDE_DIR nifti2_io.h PATH_SUFFIXES nifti)
find_library(Nifti_LIBRARY nifti2)
find_library(Nifti_ZNZ_LIBRARY znz)
mark_as_advanced(Nifti_INCLUDE_DIR Nifti_LIBRARY Nifti_ZNZ_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Nifti REQUIRED_VARS Nifti_LIBRARY Nifti_ZNZ_LIBRARY Nifti_INCLUDE_DIR)

if(Nifti_FOUND AND NOT TARGET Nifti::nifti2)
    add_library(Nifti::nifti2 INTERFACE IMPORTED)
    set_target_properties(Nifti::nifti2 PROPERTIES
        INTERFACE_INCLUDE_DIRECTORIES ${Nifti_INCLUDE_DIR}
        INTERFACE_LINK_LIBRARIES "${Nifti_LIBRARY};${Nifti_ZNZ_LIBRARY}")
endif()
