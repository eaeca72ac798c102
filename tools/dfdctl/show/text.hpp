// SPDX-License-Identifier: MIT
// The pages as text.
#pragma once

#include "dfdctl/pages/board_page.hpp"
#include "dfdctl/pages/table_page.hpp"

namespace dfdctl {

/// `first`: no blank line before it.
void print_page(std::FILE *out, const PageData &data, bool first);
void print_page(std::FILE *out, const BoardPage &page);

}  // namespace dfdctl
