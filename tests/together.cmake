# SPDX-License-Identifier: BSD-3-Clause
#
# Unit tests of several files as one program: the compiler reads the headers once, not once for each file. A
# file keeps its CTest entry and so a process of its own; its names stand in a namespace of its own.

# add_tests_together(NAME LIBRARIES PATH...) makes programs NAME_0, NAME_1... of up to twelve files each. PATH
# stands below this folder; LIBRARIES is one list. The caller makes the CTest entries: test_program_PATH holds
# the program of each.
function(add_tests_together name libraries)
  set(limit 12)
  list(LENGTH ARGN count)
  math(EXPR programs "(${count} + ${limit} - 1) / ${limit}")
  foreach(index RANGE ${programs})
    if(index EQUAL programs)
      break()
    endif()
    set(program ${name}_${index})
    set(headers)
    set(bodies)
    set(place 0)
    foreach(path IN LISTS ARGN)
      # each program takes every so-manieth: the long files of a folder stand beside each other by name
      math(EXPR turn "${place} % ${programs}")
      math(EXPR place "${place} + 1")
      if(NOT turn EQUAL index)
        continue()
      endif()
      set(file ${CMAKE_CURRENT_SOURCE_DIR}/${path})
      set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
      file(STRINGS ${file} of_file REGEX "^#include ")
      list(APPEND headers ${of_file})
      string(MAKE_C_IDENTIFIER ${path} scope)
      string(APPEND bodies "namespace { namespace ${scope} {\n#include \"${file}\"\n} }\n")
      set(test_program_${path} ${program} PARENT_SCOPE)
    endforeach()
    list(REMOVE_DUPLICATES headers)
    list(JOIN headers "\n" headers)
    set(unit ${CMAKE_CURRENT_BINARY_DIR}/${program}.cpp)
    file(CONFIGURE OUTPUT ${unit} CONTENT "${headers}\n\n${bodies}" @ONLY)
    add_executable(${program} ${unit})
    target_link_libraries(${program} PRIVATE ${libraries})
  endforeach()
endfunction()
