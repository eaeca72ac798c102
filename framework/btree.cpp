// SPDX-License-Identifier: MIT
// The item store's tree: a thin layer over the system's search tree.
#include <dfd/framework.h>
#include <search.h>

#include <cstdlib>

#include "framework/btree.h"

int compare_node(const void *a, const void *b) {
    const auto key_a = static_cast<int32_t>(static_cast<const btree_entry *>(a)->key);
    const auto key_b = static_cast<int32_t>(static_cast<const btree_entry *>(b)->key);
    return (key_a > key_b) - (key_a < key_b);
}

int btree_init_root(btree_root *root) {
    if (root == nullptr) {
        return DFD_ERR;
    }
    root->tree = nullptr;
    return pthread_rwlock_init(&root->lock, nullptr) == 0 ? DFD_OK : DFD_ERR;
}

int btree_insert_node(btree_root *root, uint32_t key, void *record) {
    if (root == nullptr || record == nullptr) {
        return DFD_ERR;
    }
    auto *entry = static_cast<btree_entry *>(std::malloc(sizeof(btree_entry)));
    if (entry == nullptr) {
        return DFD_ERR;
    }
    *entry = {key, record};
    // The node of the key, which refers to another entry when the key was there before.
    auto *const node = static_cast<btree_entry *const *>(tsearch(entry, &root->tree, compare_node));
    if (node != nullptr && *node == entry) {
        return DFD_OK;
    }
    std::free(entry);
    return node != nullptr ? DFD_EXISTS : DFD_ERR;
}

const btree_entry *dfd::find_entry(const btree_root &root, uint32_t key) {
    const btree_entry wanted = {key, nullptr};
    auto *const node = static_cast<btree_entry *const *>(tfind(&wanted, &root.tree, compare_node));
    return node != nullptr ? *node : nullptr;
}

void *btree_find_node(const btree_root *root, uint32_t key) {
    const btree_entry *const entry = root != nullptr ? dfd::find_entry(*root, key) : nullptr;
    return entry != nullptr ? entry->record : nullptr;
}

int btree_delete_node(btree_root *root, uint32_t key) {
    if (root == nullptr) {
        return DFD_ERR;
    }
    // The entry stays allocated: nothing that once was in the tree is ever freed.
    const btree_entry wanted = {key, nullptr};
    tdelete(&wanted, &root->tree, compare_node);
    return DFD_OK;
}
