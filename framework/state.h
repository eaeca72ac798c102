// SPDX-License-Identifier: MIT
// Everything that the library remembers from one call to the next carries this mark: a test finds
// variables without it. Tools that call many functions in one process put the marked bytes back
// between the calls, so that no answer depends on what was asked before.
#pragma once

#define DFD_STATE [[gnu::section("dfd_state")]]
