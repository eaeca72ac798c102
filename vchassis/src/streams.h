// SPDX-License-Identifier: MIT
// The standard streams of a program whose standard descriptors lead to a device.
#pragma once

namespace vchassis {

// Inside libc they read and write past the chassis; so a stream whose descriptor has become a
// device gives way to one that does not, and that serves whatever the descriptor leads to later.
void follow_standard_streams();

}  // namespace vchassis
