// SPDX-License-Identifier: MIT
#include "report.h"

#include "common/terminal.hpp"

namespace vchassis {

void complain(const std::string &text) {
    dfd_tools::put_message("vchassis: " + text, dfd_tools::message_width());
}

int report_failures(int status, const std::function<void()> &action) {
    return dfd_tools::reporting_failure(status, complain, [&action] {
        action();
        return 0;
    });
}

}  // namespace vchassis
