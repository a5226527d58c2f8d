// SPDX-License-Identifier: Apache-2.0
//
// Reports as the plug-in makes them: suppressed, and traced into a ring in a file, beside the formatting of their line.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "report.hpp"
#include "zpf_base/trace.h"
#include "zpf_map/context.hpp"

namespace zpf::bench {

namespace {

/// The most frequent line of all: a walker begins.
constexpr const char* kReporter =
    "ymap_xo_ocopticalattenuator_quarnkmtvnifmgrcfg_lvla_interfaceconfigurations_interfaceconfiguration";

/// A ring in a file, as on a device; file and folder go with it.
class RingInFile {
public:
    RingInFile()
    {
        std::string name = std::filesystem::temp_directory_path() / "zpf-bench-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no folder can be made for a trace ring: " + name);
        }
        folder_ = name;
        char why[200] = "";
        ring_ = zpf_trace_ring_open((folder_ / "ring").c_str(), 0, why, sizeof why);
        if (ring_ == nullptr) {
            throw std::runtime_error(why);
        }
    }
    RingInFile(const RingInFile&) = delete;
    RingInFile& operator=(const RingInFile&) = delete;
    ~RingInFile()
    {
        zpf_trace_ring_close(ring_);
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    zpf_trace_ring* get() const { return ring_; }

private:
    std::filesystem::path folder_;
    zpf_trace_ring* ring_ = nullptr;
};

void report(zpf_map_ctx ctx)
{
    OCATT_TRACE(ctx, kReporter, "Start");
}

void suppressed_report(benchmark::State& state)
{
    Context context;
    zpf_map_ctx ctx = context.raw();
    for (auto _ : state) {
        benchmark::DoNotOptimize(ctx);
        report(ctx);
    }
}

void trace_line(benchmark::State& state)
{
    const RingInFile ring;
    Context context;
    context.set_trace(ring.get());
    zpf_map_ctx ctx = context.raw();
    for (auto _ : state) {
        benchmark::DoNotOptimize(ctx);
        report(ctx);
    }
    context.set_trace(nullptr);
}

void trace_line_formatting(benchmark::State& state)
{
    Context context;
    zpf_map_ctx ctx = context.raw();
    uint32_t number = 0;
    for (auto _ : state) {
        char line[ZPF_TRACE_LINE_BYTES];
        std::snprintf(line, sizeof line, "#%u: TRC: %s:%d ctx=%p,Start", ++number, kReporter, __LINE__,
                      static_cast<void*>(ctx));
        benchmark::DoNotOptimize(line);
    }
}

BENCHMARK(suppressed_report);
BENCHMARK(trace_line);
BENCHMARK(trace_line_formatting);

} // namespace

} // namespace zpf::bench
