// SPDX-License-Identifier: MIT
#include "dfdctl/command.hpp"

#include "dfdctl/output.hpp"

namespace dfdctl {

int reporting_failure(const Action &action) {
    try {
        return action();
    } catch (const UsageError &error) {
        complain(error.what());
        return kExitUsage;
    } catch (const std::exception &error) {
        complain(error.what());
        return kExitIo;
    }
}

}  // namespace dfdctl
