# SPDX-License-Identifier: MIT
# Man pages, from headers, docs and what the programs tell of their command lines. Without Python there
# are none. A cross build makes those of the programs where DFD_HOST_TOOLS names programs that run here.
find_package(Python3 COMPONENTS Interpreter QUIET)
set(DFD_HOST_TOOLS "" CACHE PATH "Build directory with programs that run here, for man pages and EEPROM images of a cross build")
if(NOT Python3_FOUND OR DFD_SANITIZE)
  message(STATUS "No man pages: they take Python, and a build that is not sanitized")
  return()
endif()

set(trees)
foreach(program dfdctl dfd-eeprom vchassis)
  set(runs ${DFD_HOST_TOOLS}/${program})
  if(NOT DFD_HOST_TOOLS)
    set(runs $<TARGET_FILE_DIR:dfdctl>/${program})
  endif()
  if(DFD_TOOLS AND (DFD_HOST_TOOLS OR NOT CMAKE_CROSSCOMPILING))
    set(tree ${PROJECT_BINARY_DIR}/manual/${program}.json)
    add_custom_command(OUTPUT ${tree} COMMAND ${runs} __tree > ${tree} DEPENDS dfdctl vchassis VERBATIM)
    list(APPEND trees ${tree})
  endif()
endforeach()

file(GLOB manual_inputs CONFIGURE_DEPENDS include/dfd/*.h docs/*.md docs/configuration/*.md packaging/manual/*.py)
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/manual/written
  COMMAND Python3::Interpreter -B packaging/manual/man.py ${PROJECT_VERSION} . ${PROJECT_BINARY_DIR}/man ${trees}
  COMMAND ${CMAKE_COMMAND} -E touch ${PROJECT_BINARY_DIR}/manual/written
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
  DEPENDS ${manual_inputs} README.md ${trees} VERBATIM)
add_custom_target(man ALL DEPENDS ${PROJECT_BINARY_DIR}/manual/written)
install(DIRECTORY ${PROJECT_BINARY_DIR}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR} OPTIONAL)
