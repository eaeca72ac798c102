# SPDX-License-Identifier: MIT
# Writes the files of templates/ as texts of a C++ source: cmake -DOUTPUT=FILE -P embed.cmake
file(GLOB templates ${CMAKE_CURRENT_LIST_DIR}/templates/*)
set(rows)
foreach(template ${templates})
  get_filename_component(name ${template} NAME)
  file(READ ${template} text)
  string(APPEND rows "    {\"${name}\", R\"template(${text})template\"},\n")
endforeach()
file(WRITE ${OUTPUT} "// Written by embed.cmake.
#include \"dfdctl/new_board/board_files.hpp\"

namespace dfdctl::new_board {

namespace {
const Template kTemplates[] = {
${rows}};
}  // namespace

std::span<const Template> templates() { return kTemplates; }

}  // namespace dfdctl::new_board
")
