// SPDX-License-Identifier: Apache-2.0
//
// Collection of runs.
#include "results.hpp"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace zpf::bench {

bool Results::ReportContext(const Context& /*context*/)
{
    return true;
}

void Results::ReportRuns(const std::vector<Run>& runs)
{
    for (const Run& run : runs) {
        // The repetition is told apart by its index, not by its name.
        std::string name = run.run_name.function_name;
        if (!run.run_name.args.empty()) {
            name += "/" + run.run_name.args;
        }
        if (run.error_occurred) {
            failures_[name] = run.error_message;
        } else if (run.run_type == Run::RT_Iteration) {
            times_ns_[name].push_back(run.cpu_accumulated_time * 1e9 / static_cast<double>(run.iterations));
        }
    }
    std::fputc('.', stderr); // a sign of life: the whole takes a minute or two
}

double Results::median_ns(const std::string& benchmark) const
{
    if (const auto failure = failures_.find(benchmark); failure != failures_.end()) {
        throw std::runtime_error(benchmark + ": " + failure->second);
    }
    const auto found = times_ns_.find(benchmark);
    if (found == times_ns_.end()) {
        throw std::runtime_error(benchmark + " was not run");
    }
    std::vector<double> times = found->second;
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

} // namespace zpf::bench
