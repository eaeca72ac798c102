// SPDX-License-Identifier: MIT
// The memory of the program, which a kernel does not trust: a pointer that leads nowhere fails the
// request and not the program.
#pragma once

#include <cstddef>

namespace vchassis {

// False where not all of it can be read, or written.
bool take_from_user(void *to, const void *from, std::size_t size);
bool give_to_user(void *to, const void *from, std::size_t size);

}  // namespace vchassis
