// SPDX-License-Identifier: MIT
// Loading configuration lines, beside reading and splitting them and beside two readers of such
// files that store what they read.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <ini.h>
#include <malloc.h>
#include <search.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bench/board_files.hpp"
#include "bench/store.hpp"
#include "framework/dfd_lib_cfg/module.h"

namespace {

using benchmark::State;

std::string items_file(int lines, bool with_header) {
    const std::string path =
        bench::scratch_directory() / (std::to_string(lines) + (with_header ? ".ini" : ".cfg"));
    bench::write_items(path, lines, with_header ? "[items]" : "");
    return path;
}

int split_lines(const char *path) {
    constexpr int kLineSize = 256;
    std::FILE *const file = std::fopen(path, "r");
    char line[kLineSize];
    int count = 0;
    while (std::fgets(line, sizeof line, file) != nullptr) {
        if (char *const equals = std::strchr(line, '=')) {
            *equals = '\0';
            ++count;
        }
        benchmark::DoNotOptimize(line);
    }
    std::fclose(file);
    return count;
}

void load_floor(State &state, int lines) {
    const std::string path = items_file(lines, false);
    for (auto _ : state) {
        benchmark::DoNotOptimize(split_lines(path.c_str()));
    }
    state.SetItemsProcessed(state.iterations() * lines);
}

void load_libdfd(State &state, int lines) {
    const std::string path = items_file(lines, false);
    bench::forget_everything();
    for (auto _ : state) {
        dfd_lib_cfg_analyse_config_file(path.c_str());
        state.PauseTiming();
        bench::forget_everything();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * lines);
}

void load_gkeyfile(State &state, int lines) {
    const std::string path = items_file(lines, true);
    for (auto _ : state) {
        GKeyFile *const file = g_key_file_new();
        g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_NONE, nullptr);
        state.PauseTiming();
        g_key_file_free(file);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * lines);
}

struct Pair {
    char *name;
    char *value;
};

int compare_names(const void *a, const void *b) {
    return std::strcmp(static_cast<const Pair *>(a)->name, static_cast<const Pair *>(b)->name);
}

int keep_pair(void *tree, const char *, const char *name, const char *value) {
    auto *const pair = static_cast<Pair *>(std::malloc(sizeof(Pair)));
    *pair = {strdup(name), strdup(value)};
    tsearch(pair, static_cast<void **>(tree), compare_names);
    return 1;
}

void free_pair(void *node) {
    auto *const pair = static_cast<Pair *>(node);
    std::free(pair->name);
    std::free(pair->value);
    std::free(pair);
}

void load_inih(State &state, int lines) {
    const std::string path = items_file(lines, true);
    for (auto _ : state) {
        void *tree = nullptr;
        ini_parse(path.c_str(), keep_pair, &tree);
        state.PauseTiming();
        tdestroy(tree, free_pair);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * lines);
}

/// What malloc takes for a block: it writes the size in front of it.
std::size_t block_size(void *block) {
    return malloc_usable_size(block) + sizeof(std::size_t);
}

/// What the record of an item, its entry and its node of libc's tree take at least.
std::size_t item_floor() {
    void *const record = std::calloc(1, sizeof(info_ctrl_t));
    auto *const entry = static_cast<btree_entry *>(std::malloc(sizeof(btree_entry)));
    *entry = {0, record};
    void *tree = nullptr;
    void *const node = tsearch(entry, &tree, [](const void *, const void *) { return 0; });
    const std::size_t size = block_size(record) + block_size(entry) + block_size(node);
    tdestroy(tree, std::free);
    std::free(record);
    return size;
}

/// Not a time: what the store takes of the heap for an item, and what loading all lines once more
/// adds to it.
void heap(State &state, int lines) {
    constexpr int kLinesOfItem = 10;
    const std::string path = items_file(lines, false);
    for (auto _ : state) {
        bench::forget_everything();
        const std::size_t empty = bench::heap_in_use();
        dfd_lib_cfg_analyse_config_file(path.c_str());
        const std::size_t loaded = bench::heap_in_use();
        dfd_lib_cfg_analyse_config_file(path.c_str());
        const std::size_t again = bench::heap_in_use();
        bench::forget_everything();
        state.counters["bytes_per_item"] =
            static_cast<double>(loaded - empty) / (static_cast<double>(lines) / kLinesOfItem);
        state.counters["floor"] = static_cast<double>(item_floor());
        state.counters["bytes_more"] = static_cast<double>(again - loaded);
    }
}

struct Row {
    const char *name;
    void (*run)(State &state, int size);
};

const bool g_registered = [] {
    for (const int lines : {1000, 10000, 100000}) {
        const std::string group = "load/" + std::to_string(lines) + ":";
        for (const auto &[name, run] :
             {Row{"floor", load_floor}, Row{"libdfd", load_libdfd}, Row{"GKeyFile", load_gkeyfile},
              Row{"inih and tsearch", load_inih}}) {
            benchmark::RegisterBenchmark((group + name).c_str(), run, lines);
        }
        benchmark::RegisterBenchmark(("heap/" + std::to_string(lines) + ":libdfd").c_str(), heap,
                                     lines)
            ->Iterations(1);
    }
    return true;
}();

}  // namespace
