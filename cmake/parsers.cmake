# SPDX-License-Identifier: MIT
# The formatter and the TOML parser, from headers of Debian's packages, each compiled once for the tools
# and the virtual chassis and linked into them: a program for a chassis then needs no library of its own
# there, and starts faster.
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_path(DFD_FMT_INCLUDE fmt/format-inl.h REQUIRED)
find_path(DFD_TOML_INCLUDE toml++/toml.h REQUIRED)

add_library(dfd_fmt STATIC cmake/fmt.cpp)
target_include_directories(dfd_fmt SYSTEM PUBLIC ${DFD_FMT_INCLUDE})
add_library(dfd_toml STATIC cmake/toml.cpp)
target_include_directories(dfd_toml SYSTEM PUBLIC ${DFD_TOML_INCLUDE})
# Nothing writes with it.
target_compile_definitions(dfd_toml PUBLIC TOML_HEADER_ONLY=0 TOML_ENABLE_FORMATTERS=0)
foreach(parser dfd_fmt dfd_toml)
  set_target_properties(${parser} PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
    ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/parsers)
  # Format strings are checked by the other builds; here that would take a sixth of the time.
  target_compile_definitions(${parser} PUBLIC $<$<CONFIG:Release>:FMT_CONSTEVAL=>)
  target_compile_options(${parser} PRIVATE $<$<CONFIG:Release>:-O1>)
endforeach()

# For programs that are installed; not for the preload library, whose handle for tests passes containers
# of the C++ library. A sanitizer wants that shared, too.
add_library(dfd_self_contained INTERFACE)
if(NOT DFD_SANITIZE)
  target_link_options(dfd_self_contained INTERFACE -static-libstdc++ -static-libgcc)
endif()
