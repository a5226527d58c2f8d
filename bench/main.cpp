// SPDX-License-Identifier: Apache-2.0
//
// zpf-bench: measures what is promised about speed and memory and prints one table.
// A goal that is missed is told in the table only: the status says whether everything could be measured.
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "machine.hpp"
#include "memory.hpp"
#include "results.hpp"
#include "table.hpp"

namespace {

using namespace zpf::bench;

struct Options {
    Form form = Form::text;
    bool quick = false; ///< as short as it can be: shows that everything runs, measures nothing worth keeping
};

constexpr const char* kUsage = "usage: zpf-bench [--markdown] [--quick] [--benchmark_...]\n"
                               "  --markdown  the table as docs/performance.md has it\n"
                               "  --quick     one short repetition of everything, to see that it runs\n"
                               "Options of Google Benchmark are handed on, for instance\n"
                               "  --benchmark_repetitions=21 --benchmark_min_time=0.5\n";

/// Takes our own options out of the arguments; the rest is Google Benchmark's, after the defaults that it may overrule.
std::vector<char*> split_arguments(int argc, char** argv, Options& options)
{
    static std::vector<std::string> defaults;
    std::vector<char*> rest;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--markdown") == 0) {
            options.form = Form::markdown;
        } else if (std::strcmp(argv[i], "--quick") == 0) {
            options.quick = true;
        } else {
            rest.push_back(argv[i]);
        }
    }
    // Interleaved: a busy second of the machine then hits ours and the reference alike.
    defaults = {"--benchmark_enable_random_interleaving=true",
                options.quick ? "--benchmark_repetitions=1" : "--benchmark_repetitions=15",
                options.quick ? "--benchmark_min_time=0.001" : "--benchmark_min_time=0.2"};
    std::vector<char*> all{argv[0]};
    for (std::string& argument : defaults) {
        all.push_back(argument.data());
    }
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
}

std::vector<Row> measure()
{
    // Counts first: repetitions of the benchmarks leave memory behind that later growth would hide in.
    const auto counts = count_allocations_by_work();
    const WalkMemory smallest = measure_walk_memory(10);
    const WalkMemory largest = measure_walk_memory(100'000);
    Results results;
    benchmark::RunSpecifiedBenchmarks(&results);
    std::fputc('\n', stderr);
    std::vector<Row> rows = mapping_rows(results);
    for (const auto& more :
         {allocation_rows(counts), walk_rows(results, smallest, largest), diagnostics_rows(results)}) {
        rows.insert(rows.end(), more.begin(), more.end());
    }
    return rows;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    std::vector<char*> arguments = split_arguments(argc, argv, options);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        fmt::print(stderr, "{}", kUsage);
        return 2;
    }
    try {
        const std::vector<Row> rows = measure();
        fmt::print("{}\n\n{}", machine_description(), print(rows, options.form));
    } catch (const std::exception& error) {
        fmt::print(stderr, "zpf-bench: {}\n", error.what());
        return 1;
    }
    return 0;
}
