# SPDX-License-Identifier: BSD-3-Clause
#
# cmake -DPROGRAM=... -DFOLDER=... -P write_completions.cmake -- what bash and zsh complete for PROGRAM
file(MAKE_DIRECTORY ${FOLDER})
get_filename_component(name ${PROGRAM} NAME)
foreach(shell bash zsh)
  set(file ${FOLDER}/${name})
  if(shell STREQUAL zsh)
    set(file ${FOLDER}/_${name})
  endif()
  execute_process(COMMAND ${PROGRAM} --completion ${shell} OUTPUT_FILE ${file} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${name} --completion ${shell} ended with ${status}")
  endif()
endforeach()
