// SPDX-License-Identifier: MIT
#include "faults.h"

namespace vchassis {

namespace {

bool matches(const Fault &fault, Op op, const std::string &path, int addr, std::int64_t offset) {
    return fault.op == op && (fault.path.empty() || fault.path == path) &&
           (fault.addr < 0 || fault.addr == addr) && (fault.offset < 0 || fault.offset == offset);
}

}  // namespace

std::optional<Fault> Faults::take(Op op, const std::string &path, int addr, std::int64_t offset) {
    for (auto fault = waiting_.begin(); fault != waiting_.end(); ++fault) {
        if (!matches(*fault, op, path, addr, offset)) {
            continue;
        }
        if (fault->skip > 0) {
            --fault->skip;
            continue;
        }
        const Fault hit = *fault;
        if (fault->count == 1) {
            waiting_.erase(fault);
        } else if (fault->count > 1) {
            --fault->count;
        }
        return hit;
    }
    return std::nullopt;
}

}  // namespace vchassis
