# SPDX-License-Identifier: MIT
# Two interface targets: `dfd_warnings` for every target, `dfd_sanitizers` for all that may run
# sanitized (the preload library may not: a sanitizer's start-up calls the functions it replaces).
add_library(dfd_warnings INTERFACE)
target_compile_options(dfd_warnings INTERFACE -Wall -Wextra -Wshadow
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion> $<$<BOOL:${DFD_WERROR}>:-Werror>)

add_library(dfd_sanitizers INTERFACE)
if(DFD_SANITIZE)
  target_compile_options(dfd_sanitizers INTERFACE -fsanitize=${DFD_SANITIZE}
    -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(dfd_sanitizers INTERFACE -fsanitize=${DFD_SANITIZE})
endif()
