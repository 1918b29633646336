# SPDX-License-Identifier: BSD-3-Clause
#
# nifti_library_if_found: the NIfTI library with its headers, or an empty target. Debian 12's own
# CMake file for it names a library that is not installed, so it is looked up here. Without it the
# programs are built all the same; where they meet NIfTI they say that they cannot.
find_package(ZLIB QUIET)
find_path(nifti_headers nifti2_io.h PATH_SUFFIXES nifti)
find_library(nifti_library nifti2)
find_library(znz_library znz)
add_library(nifti_library_if_found INTERFACE)
if(ZLIB_FOUND AND nifti_headers AND nifti_library AND znz_library)
  get_filename_component(nifti_parent ${nifti_headers} DIRECTORY)
  # nifti2_io.h includes <znzlib.h> without its folder
  target_include_directories(nifti_library_if_found SYSTEM INTERFACE ${nifti_parent} ${nifti_headers})
  target_compile_definitions(nifti_library_if_found INTERFACE VAROKEL_NIFTI HAVE_ZLIB)
  target_link_libraries(nifti_library_if_found INTERFACE ${nifti_library} ${znz_library} ZLIB::ZLIB)
else()
  message(STATUS "no NIfTI files: they need libnifti2-dev and zlib1g-dev")
endif()

