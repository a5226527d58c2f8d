// SPDX-License-Identifier: Apache-2.0
//
// Requests through the mapping, beside libyang on the same messages.
#include <benchmark/benchmark.h>

#include "device.hpp"
#include "libyang_reference.hpp"
#include "messages.hpp"

namespace zpf::bench {

namespace {

void edit_ours(benchmark::State& state, const char* text)
{
    const Tree request = device().edit_request(text);
    for (auto _ : state) {
        const EditResult result = device().edit(request);
        if (result.refusal) {
            state.SkipWithError(result.refusal->message.c_str());
            break;
        }
        benchmark::DoNotOptimize(&result.after.root());
    }
}

void edit_libyang(benchmark::State& state, const char* text)
{
    const LibyangReference& libyang = libyang_reference();
    const std::string request = text;
    for (auto _ : state) {
        libyang.edit(request);
    }
}

void get_ours(benchmark::State& state, const char* text)
{
    const Tree request = device().get_request(text);
    for (auto _ : state) {
        const ReadResult result = device().get(request);
        if (result.refusal) {
            state.SkipWithError(result.refusal->message.c_str());
            break;
        }
        benchmark::DoNotOptimize(&result.reply.root());
    }
}

void get_libyang(benchmark::State& state, const char* text)
{
    const LibyangReference& libyang = libyang_reference();
    const std::string request = text;
    const std::string reply = device().reply_text(device().get_request(text));
    for (auto _ : state) {
        libyang.get(request, reply);
    }
}

BENCHMARK_CAPTURE(edit_ours, one_leaf, kEditOneLeaf);
BENCHMARK_CAPTURE(edit_libyang, one_leaf, kEditOneLeaf);
BENCHMARK_CAPTURE(get_ours, one_entry, kGetOneEntry);
BENCHMARK_CAPTURE(get_libyang, one_entry, kGetOneEntry);
BENCHMARK_CAPTURE(get_ours, everything, kGetEverything);
BENCHMARK_CAPTURE(get_libyang, everything, kGetEverything);

} // namespace

} // namespace zpf::bench
