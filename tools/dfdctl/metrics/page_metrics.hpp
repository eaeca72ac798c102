// SPDX-License-Identifier: MIT
// What the pages of `show` tell, as metrics: the names come from the pages, the rules are here.
#pragma once

#include "dfdctl/metrics/exposition.hpp"
#include "dfdctl/pages/table_page.hpp"

namespace dfdctl {

/// Empty where a column has none.
std::string_view metric_of(const Column &column);

/// Numbers are gauges with their unit in the name, states one series a state, texts labels of one
/// series a unit. What failed, is not configured or belongs to an absent unit is left out.
void add_page(Exposition &metrics, const PageData &page);

}  // namespace dfdctl
