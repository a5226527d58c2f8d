// SPDX-License-Identifier: Apache-2.0
//
// The goals, and the table's two forms.
#include "table.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace zpf::bench {

namespace {

constexpr double kMostOfLibyang = 0.25;
constexpr double kMostPerEntry_ns = 400;
constexpr double kMostGrowth = 1.1; // exponent: 1 is linear; n log n would be 1.11 between these sizes
constexpr double kMostSuppressed_ns = 5;
constexpr double kMostOfFormatting = 2;

/// What the system may take for a page that is touched for the first time, or count late; far below an entry's size
/// times the number of entries.
constexpr std::size_t kResidentNoise_bytes = std::size_t{64} * 1024;

std::string time_text(double ns)
{
    return ns < 1000 ? fmt::format("{:.1f} ns", ns) : fmt::format("{:.2f} µs", ns / 1000);
}

Row row_beside(const std::string& what, double ours_ns, const std::string& reference, double reference_ns,
               double most_ratio)
{
    const double ratio = ours_ns / reference_ns;
    return {what,
            time_text(ours_ns),
            reference + " " + time_text(reference_ns),
            fmt::format("{:.2f}", ratio),
            fmt::format("ratio at most {:.2f}", most_ratio),
            ratio <= most_ratio};
}

std::string walk_name(std::size_t entries)
{
    return "native_walk/" + std::to_string(entries);
}

} // namespace

std::vector<Row> mapping_rows(const Results& results)
{
    struct Case {
        const char* what;
        const char* ours;
        const char* libyang;
    };
    constexpr std::array kCases{Case{"edit of one leaf", "edit_ours/one_leaf", "edit_libyang/one_leaf"},
                                Case{"get of one entry", "get_ours/one_entry", "get_libyang/one_entry"},
                                Case{"get of everything", "get_ours/everything", "get_libyang/everything"}};
    std::vector<Row> rows;
    rows.reserve(kCases.size());
    for (const Case& at : kCases) {
        rows.push_back(
            row_beside(at.what, results.median_ns(at.ours), "libyang", results.median_ns(at.libyang), kMostOfLibyang));
    }
    return rows;
}

std::vector<Row> allocation_rows(const std::vector<CountedWork>& counts)
{
    std::vector<Row> rows;
    rows.reserve(counts.size());
    for (const CountedWork& work : counts) {
        const Allocations& found = work.allocations;
        rows.push_back({"allocations by the plug-in: " + work.what, std::to_string(found.by_plugin),
                        fmt::format("framework {}", found.by_framework), "", "none", found.by_plugin == 0});
    }
    return rows;
}

std::vector<Row> walk_rows(const Results& results, const WalkMemory& smallest, const WalkMemory& largest)
{
    std::vector<Row> rows;
    for (const std::size_t entries : {10U, 100U, 1000U, 10'000U, 100'000U}) {
        const double per_entry_ns = results.median_ns(walk_name(entries)) / static_cast<double>(entries);
        rows.push_back({fmt::format("native walk, {} entries", entries),
                        fmt::format("{:.1f} ns an entry", per_entry_ns), "", "",
                        fmt::format("at most {:.0f} ns an entry", kMostPerEntry_ns), per_entry_ns <= kMostPerEntry_ns});
    }
    // Small walks are left out: what each walk costs once would make growth look slower than it is.
    const double growth = std::log10(results.median_ns(walk_name(100'000)) / results.median_ns(walk_name(1000))) / 2;
    rows.push_back({"native walk, growth from 1000 to 100000 entries", fmt::format("n to the power of {:.2f}", growth),
                    "", "", fmt::format("power at most {:.1f}", kMostGrowth), growth <= kMostGrowth});
    rows.push_back({fmt::format("native walk, memory allocated for {} entries", largest.entries),
                    fmt::format("{} bytes", largest.allocated_bytes),
                    fmt::format("{} entries {} bytes", smallest.entries, smallest.allocated_bytes), "",
                    "no more than for few", largest.allocated_bytes <= smallest.allocated_bytes});
    rows.push_back({fmt::format("native walk, resident memory growth with {} entries", largest.entries),
                    fmt::format("{} KiB", largest.resident_growth_bytes / 1024),
                    fmt::format("{} entries {} KiB", smallest.entries, smallest.resident_growth_bytes / 1024), "",
                    fmt::format("at most {} KiB", kResidentNoise_bytes / 1024),
                    largest.resident_growth_bytes <= kResidentNoise_bytes});
    return rows;
}

std::vector<Row> diagnostics_rows(const Results& results)
{
    const double suppressed_ns = results.median_ns("suppressed_report");
    return {{"suppressed report", time_text(suppressed_ns), "", "",
             fmt::format("at most {:.0f} ns", kMostSuppressed_ns), suppressed_ns <= kMostSuppressed_ns},
            row_beside("trace line into the ring", results.median_ns("trace_line"), "formatting",
                       results.median_ns("trace_line_formatting"), kMostOfFormatting)};
}

std::string print(const std::vector<Row>& rows, Form form)
{
    using Cells = std::array<std::string, 6>;
    const bool markdown = form == Form::markdown;
    std::vector<Cells> lines{{"what", "ours", "beside", "ratio", "goal", "verdict"}};
    for (const Row& row : rows) {
        lines.push_back({row.what, row.ours, row.reference, row.ratio, row.goal,
                         row.met ? "met" : (markdown ? "**not met**" : "NOT MET")});
    }
    std::string out;
    if (markdown) {
        for (std::size_t i = 0; i < lines.size(); ++i) {
            out += fmt::format("| {} |\n", fmt::join(lines[i], " | "));
            out += i == 0 ? "|---|---|---|---|---|---|\n" : "";
        }
        return out;
    }
    std::array<std::size_t, 6> widths{};
    for (const Cells& cells : lines) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            widths[i] = std::max(widths[i], cells[i].size());
        }
    }
    for (const Cells& cells : lines) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            out += fmt::format("{:<{}}", cells[i], i + 1 < cells.size() ? widths[i] + 2 : 0);
        }
        out += '\n';
    }
    return out;
}

} // namespace zpf::bench
