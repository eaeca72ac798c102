// SPDX-License-Identifier: MIT
// Finding an item by its key, beside a sorted array and a hash table.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <unordered_map>
#include <vector>

#include "bench/store.hpp"
#include "framework/dfd_lib_cfg/module.h"

namespace {

using benchmark::State;

constexpr int kQuestions = 8192;

std::vector<uint32_t> keys_of(int items) {
    std::vector<uint32_t> keys;
    for (int i = 0; i < items; ++i) {
        keys.push_back(DFD_MAKE_KEY(DFD_KEY_CARD_VOLOTAGE, i / 256, i % 256));
    }
    return keys;
}

/// Keys in no order, all of them there.
std::vector<uint32_t> questions(const std::vector<uint32_t> &keys) {
    std::mt19937 random(1);
    std::vector<uint32_t> asked;
    for (int i = 0; i < kQuestions; ++i) {
        asked.push_back(keys[random() % keys.size()]);
    }
    return asked;
}

/// Asks each question in turn.
template <typename Find>
void ask(State &state, int items, Find find) {
    const std::vector<uint32_t> asked = questions(keys_of(items));
    for (auto _ : state) {
        for (const uint32_t key : asked) {
            benchmark::DoNotOptimize(find(key));
        }
    }
    state.SetItemsProcessed(state.iterations() * kQuestions);
}

struct Entry {
    uint32_t key;
    void *record;
};

int compare_entries(const void *a, const void *b) {
    const uint32_t key_a = static_cast<const Entry *>(a)->key;
    const uint32_t key_b = static_cast<const Entry *>(b)->key;
    return (key_a > key_b) - (key_a < key_b);
}

void find_libdfd(State &state, int items) {
    bench::forget_everything();
    for (const uint32_t key : keys_of(items)) {
        btree_insert_node(&g_item_root, key, std::calloc(1, sizeof(info_ctrl_t)));
    }
    ask(state, items, [](uint32_t key) { return dfd_lib_cfg_get_item(key); });
    bench::forget_everything();
}

void find_bsearch(State &state, int items) {
    std::vector<Entry> entries;
    for (const uint32_t key : keys_of(items)) {
        entries.push_back({key, nullptr});
    }
    ask(state, items, [&entries](uint32_t key) {
        const Entry wanted{key, nullptr};
        return std::bsearch(&wanted, entries.data(), entries.size(), sizeof(Entry),
                            compare_entries);
    });
}

void find_hash(State &state, int items) {
    std::unordered_map<uint32_t, void *> entries;
    for (const uint32_t key : keys_of(items)) {
        entries.emplace(key, nullptr);
    }
    ask(state, items, [&entries](uint32_t key) { return &entries.find(key)->second; });
}

struct Row {
    const char *name;
    void (*run)(State &state, int size);
};

const bool g_registered = [] {
    for (const int items : {10000, 100000}) {
        const std::string group = "lookup/" + std::to_string(items) + ":";
        for (const auto &[name, run] : {Row{"bsearch", find_bsearch}, Row{"libdfd", find_libdfd},
                                        Row{"unordered_map", find_hash}}) {
            benchmark::RegisterBenchmark((group + name).c_str(), run, items);
        }
    }
    return true;
}();

}  // namespace
