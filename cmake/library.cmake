# SPDX-License-Identifier: MIT
# libdfd.so: C++20 inside, C interface outside, libc the only library it needs.
# What tools may watch at work (framework/watch.h) is compiled once more for them, with the hooks.
set(dfd_watched_sources
  framework/btree.cpp
  framework/dfd_debug.cpp
  framework/dfd_info/engine.cpp
  framework/dfd_info/led_table.cpp
  framework/dfd_info/transfer.cpp
  framework/dfd_lib_cfg/conversion.cpp
  framework/dfd_lib_cfg/dump.cpp
  framework/dfd_lib_cfg/items.cpp
  framework/dfd_lib_cfg/parser.cpp
  framework/dfd_lib_cfg/startup.cpp
  framework/dfd_lib_cfg/words.cpp
  framework/platform.cpp
  hal/device_file.cpp
  hal/i2c.cpp)
add_library(dfd_objects OBJECT
  hal/core/backplane.cpp
  hal/core/board_settings.cpp
  hal/core/board_type.cpp
  hal/core/card_power.cpp
  hal/core/card_version.cpp
  hal/core/conflict.cpp
  hal/core/install.cpp
  hal/core/resets.cpp
  hal/core/slots.cpp
  hal/core/subcard.cpp
  hal/core/voltage.cpp
  hal/core/voltage_lock.cpp
  hal/dfd_frueeprom.cpp
  hal/e2prom/access.cpp
  hal/e2prom/fru.cpp
  hal/e2prom/legacy.cpp
  hal/e2prom/query.cpp
  hal/e2prom/tlv.cpp
  hal/e2prom/write_protect.cpp
  hal/fan/identity.cpp
  hal/fan/speed.cpp
  hal/fan/status.cpp
  hal/fan/type.cpp
  hal/irq.cpp
  hal/irq_distrib.cpp
  hal/led.cpp
  hal/power/figures.cpp
  hal/power/identity.cpp
  hal/power/status.cpp
  hal/power/telemetry.cpp
  hal/temperature.cpp
  service/intf/bus.cpp
  service/intf/driver.cpp
  service/intf/forward.cpp)
add_library(dfd_plain_objects OBJECT ${dfd_watched_sources})
get_target_property(dfd_sources dfd_objects SOURCES)
foreach(source ${dfd_sources} ${dfd_watched_sources})
  cmake_path(GET source PARENT_PATH folder)
  set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${folder})
endforeach()
# What most of it includes of the C++ library.
target_precompile_headers(dfd_plain_objects PRIVATE <algorithm> <array> <atomic> <span> <string_view>)
add_library(dfd_watched_objects OBJECT EXCLUDE_FROM_ALL ${dfd_watched_sources} framework/watch.cpp)
target_compile_definitions(dfd_watched_objects PRIVATE DFD_WATCHED)
foreach(objects dfd_objects dfd_plain_objects dfd_watched_objects)
  target_include_directories(${objects} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
  target_compile_options(${objects} PRIVATE -fno-exceptions -fno-rtti -fno-threadsafe-statics
    # Checked subscripts would call into the C++ library.
    -U_GLIBCXX_ASSERTIONS -D_GLIBCXX_NO_ASSERTIONS)
  target_link_libraries(${objects} PRIVATE dfd_library_warnings dfd_sanitizers)
  set_target_properties(${objects} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    # Files of a folder log for one module and are compiled together.
    UNITY_BUILD_MODE GROUP
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  if(NOT objects STREQUAL dfd_plain_objects)
    target_precompile_headers(${objects} REUSE_FROM dfd_plain_objects)
  endif()
  if(DFD_SANITIZE)
    # Checks of types at run time need what the library is built without.
    target_compile_options(${objects} PRIVATE -fno-sanitize=vptr)
  endif()
endforeach()

# Linked as C and with --as-needed: a symbol of the C++ library that slips in shows as a second
# library needed, which a test looks for.
add_library(dfd SHARED $<TARGET_OBJECTS:dfd_objects> $<TARGET_OBJECTS:dfd_plain_objects>)
add_library(dfd::dfd ALIAS dfd)
target_include_directories(dfd INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_options(dfd PRIVATE -static-libgcc -Wl,--as-needed
  -Wl,--build-id=sha1 -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/libdfd.map)
target_link_libraries(dfd PRIVATE dfd_sanitizers)
if(NOT DFD_SANITIZE)
  target_link_options(dfd PRIVATE -Wl,--no-undefined)
endif()
set_target_properties(dfd PROPERTIES
  LINKER_LANGUAGE C
  VERSION ${PROJECT_VERSION}
  SOVERSION 0
  LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/libdfd.map)

# For platform software that links everything into one program.
add_library(dfd_static STATIC $<TARGET_OBJECTS:dfd_objects> $<TARGET_OBJECTS:dfd_plain_objects>)
add_library(dfd::dfd_static ALIAS dfd_static)
target_include_directories(dfd_static INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
set_target_properties(dfd_static PROPERTIES
  OUTPUT_NAME dfd ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR} LINKER_LANGUAGE C)

# The library as dfdctl has it: linked in, with the hooks.
add_library(dfd_watched STATIC EXCLUDE_FROM_ALL
  $<TARGET_OBJECTS:dfd_objects> $<TARGET_OBJECTS:dfd_watched_objects>)
target_include_directories(dfd_watched PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
target_compile_definitions(dfd_watched INTERFACE DFD_WATCHED)
target_link_libraries(dfd_watched PRIVATE dfd_sanitizers)
set_target_properties(dfd_watched PROPERTIES
  ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/watched)
