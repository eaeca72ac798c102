// SPDX-License-Identifier: MIT
// What the library remembers, in two parts: what it has loaded, and what it has found out.
#pragma once

namespace sweep_test {

// Back to the answers of a library that was never called; the items stay.
void forget_answers();
// The items go, and nothing of them stays allocated; the answers stay.
void forget_items();
// Where items lie that were asked for is looked up again.
void forget_look_ups();

}  // namespace sweep_test
