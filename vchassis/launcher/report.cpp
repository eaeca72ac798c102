// SPDX-License-Identifier: MIT
#include "report.h"

#include <exception>

#include "common/command_line.hpp"
#include "common/terminal.hpp"

namespace vchassis {

void complain(const std::string &text) {
    dfd_tools::put_message("vchassis: " + text, dfd_tools::message_width());
}

int report_failures(int status, const std::function<void()> &action) {
    try {
        action();
        return 0;
    } catch (const dfd_tools::UsageError &error) {
        complain(error.what());
        return kExitUsage;
    } catch (const std::exception &error) {
        complain(error.what());
        return status;
    }
}

}  // namespace vchassis
