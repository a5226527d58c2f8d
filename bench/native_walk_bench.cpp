// SPDX-License-Identifier: Apache-2.0
//
// Time of a native walk by number of entries.
#include <benchmark/benchmark.h>

#include "native_walk.hpp"

namespace zpf::bench {

namespace {

void native_walk(benchmark::State& state)
{
    NativeWalk walk(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        if (walk.run() != ZPF_RC_OK) {
            state.SkipWithError("the walk fails, or takes an interface for an attenuator");
            break;
        }
    }
}

BENCHMARK(native_walk)->RangeMultiplier(10)->Range(10, 100'000);

} // namespace

} // namespace zpf::bench
