// SPDX-License-Identifier: MIT
// What the headers of toml++ leave to its library.
#define TOML_IMPLEMENTATION
#include <toml++/toml.h>
