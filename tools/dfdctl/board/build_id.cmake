# SPDX-License-Identifier: MIT
# Writes OUTPUT, a header with the build ID of LIBRARY; empty where the linker gave it none.
execute_process(COMMAND ${READELF} -n ${LIBRARY} OUTPUT_VARIABLE notes ERROR_QUIET)
string(REGEX MATCH "Build ID: ([0-9a-f]+)" id "${notes}")
file(WRITE ${OUTPUT} "// SPDX-License-Identifier: MIT
inline constexpr char kLibraryBuildId[] = \"${CMAKE_MATCH_1}\";\n")
