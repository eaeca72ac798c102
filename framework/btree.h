// SPDX-License-Identifier: MIT
// Of the item store's tree, what the library itself needs beside the published functions.
#pragma once

#include <dfd/framework.h>

namespace dfd {

// The entry of a key, or null. What a key refers to stays where it is until it is deleted.
const btree_entry *find_entry(const btree_root &root, uint32_t key);

}  // namespace dfd
