// SPDX-License-Identifier: MIT
// Google Benchmark's own main, with what the report needs: repetitions in random order, so that all
// that is compared is measured in between each other.
#include <benchmark/benchmark.h>

#include <vector>

int main(int argc, char **argv) {
    std::vector<char *> arguments(argv, argv + argc);
    char interleaved[] = "--benchmark_enable_random_interleaving=true";
    char repetitions[] = "--benchmark_repetitions=9";
    char min_time[] = "--benchmark_min_time=0.2";
    // Before those of the caller, which win.
    arguments.insert(arguments.begin() + 1, {interleaved, repetitions, min_time});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
