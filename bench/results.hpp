// SPDX-License-Identifier: Apache-2.0
//
// What the benchmarks have measured: the median over their repetitions.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace zpf::bench {

/// Takes the place of Google Benchmark's own output.
class Results : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    /// Median time of one iteration. Processor time of this process, so that other programs on a busy machine count
    /// little. Throws when the benchmark of this name was not run, or failed.
    double median_ns(const std::string& benchmark) const;

private:
    std::map<std::string, std::vector<double>> times_ns_; ///< one for each repetition
    std::map<std::string, std::string> failures_;
};

} // namespace zpf::bench
