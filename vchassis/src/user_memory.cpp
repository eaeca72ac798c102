// SPDX-License-Identifier: MIT
#include "user_memory.h"

#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace vchassis {

namespace {

// The kernel copies between the process and itself, and stops where a page is missing. An emulator
// or a sandbox that has no such call leaves the check out.
bool reachable(decltype(&process_vm_readv) call, const void *ours, const void *theirs,
               std::size_t size) {
    const iovec local{const_cast<void *>(ours), size};
    const iovec remote{const_cast<void *>(theirs), size};
    const ssize_t done = call(getpid(), &local, 1, &remote, 1, 0);
    return done < 0 ? errno != EFAULT : static_cast<std::size_t>(done) == size;
}

bool copy(bool is_reachable, void *to, const void *from, std::size_t size) {
    if (is_reachable) {
        std::copy_n(static_cast<const char *>(from), size, static_cast<char *>(to));
    }
    return is_reachable;
}

}  // namespace

bool take_from_user(void *to, const void *from, std::size_t size) {
    return copy(size == 0 || reachable(process_vm_readv, to, from, size), to, from, size);
}

bool give_to_user(void *to, const void *from, std::size_t size) {
    return copy(size == 0 || reachable(process_vm_writev, from, to, size), to, from, size);
}

}  // namespace vchassis
