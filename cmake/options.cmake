# SPDX-License-Identifier: MIT
# Presets that build everything compile the files of a tool, of a test or of a library folder together
# (CMAKE_UNITY_BUILD): most of their time goes into headers. Files whose own names clash are left out of that.
set(CMAKE_UNITY_BUILD_BATCH_SIZE 24)
function(dfd_compile_alone)
  set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# g++ collects garbage from 128 MB on, which takes a seventh of the time of a file full of templates.
add_compile_options($<$<CXX_COMPILER_ID:GNU>:--param=ggc-min-heapsize=1048576>)

# Interface targets: `dfd_library_warnings` for the library, `dfd_warnings` for everything else,
# `dfd_sanitizers` for the library, `dfd_tool_sanitizers` for all else that may run sanitized (the preload
# library may not: a sanitizer's start-up calls the functions that it replaces).
add_library(dfd_library_warnings INTERFACE)
target_compile_options(dfd_library_warnings INTERFACE -Wall -Wextra -Wshadow
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion> $<$<BOOL:${DFD_WERROR}>:-Werror>)

# g++ 12 reports overruns inside its own strings and vectors, which the library has none of.
add_library(dfd_warnings INTERFACE)
target_link_libraries(dfd_warnings INTERFACE dfd_library_warnings)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  target_compile_options(dfd_warnings INTERFACE
    # Nor does it see, in files that are compiled together, that a class is of one file only.
    -Wno-subobject-linkage
    -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
endif()

# `dfd_sanitizer_runtime` is for test programs: the code under test is instrumented, they need not be.
add_library(dfd_sanitizers INTERFACE)
add_library(dfd_tool_sanitizers INTERFACE)
add_library(dfd_sanitizer_runtime INTERFACE)
if(DFD_SANITIZE)
  set(sanitize -fsanitize=${DFD_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
    # What a function's type is takes a runtime that programs in C do not have.
    $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)
  target_compile_options(dfd_sanitizers INTERFACE ${sanitize})
  # A check at each dereference makes templates half as large again and programs half as fast; a null
  # pointer stops them anyway. Fuzz targets keep them.
  target_compile_options(dfd_tool_sanitizers INTERFACE ${sanitize}
    $<$<NOT:$<BOOL:${DFD_FUZZ}>>:-fno-sanitize=null,alignment>)
  target_compile_definitions(dfd_sanitizer_runtime INTERFACE DFD_SANITIZED)
  target_link_options(dfd_sanitizer_runtime INTERFACE -fsanitize=${DFD_SANITIZE})
endif()
target_link_libraries(dfd_sanitizers INTERFACE dfd_sanitizer_runtime)
target_link_libraries(dfd_tool_sanitizers INTERFACE dfd_sanitizer_runtime)
