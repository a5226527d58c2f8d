// SPDX-License-Identifier: Apache-2.0
//
// Rows and the table's two forms.
#include "report.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace zpf::bench {

namespace {

bool holds(const Aim& aim, double value)
{
    return aim.kind == Aim::Kind::at_least ? value >= *aim.value : value <= *aim.value;
}

Verdict judge(const Aim& aim, double value)
{
    return !aim.value ? Verdict::none : holds(aim, value) ? Verdict::met : Verdict::missed;
}

/// "aim >= 1.2"; empty when there is none
std::string aim_text(const Aim& aim, const std::string& unit)
{
    return aim.value ? fmt::format("aim {} {:.6g}{}", aim.kind == Aim::Kind::at_least ? ">=" : "<=", *aim.value, unit)
                     : std::string{};
}

nlohmann::json to_json(const Sample& sample)
{
    nlohmann::json figures{{"per_second", sample.per_second}, {"p50_us", sample.p50_us}, {"p99_us", sample.p99_us}};
    if (sample.server_us > 0) {
        figures["server_us"] = sample.server_us;
    }
    return figures;
}

nlohmann::json to_json(const Aim& aim)
{
    if (!aim.value) {
        return nullptr;
    }
    return {{aim.kind == Aim::Kind::at_least ? "at_least" : "at_most", *aim.value}};
}

const char* word(Verdict verdict)
{
    switch (verdict) {
    case Verdict::none:
        return "";
    case Verdict::met:
        return "met";
    case Verdict::missed:
        return "MISSED";
    case Verdict::failed:
        return "NOT MEASURED";
    }
    return "";
}

} // namespace

std::string text_of(const Sample& sample)
{
    std::string text = fmt::format("{:>7.0f}/s {:>7.1f} {:>7.1f}", sample.per_second, sample.p50_us, sample.p99_us);
    return sample.server_us > 0 ? fmt::format("{} {:>6.1f}", text, sample.server_us) : text;
}

Row rate_row(const std::string& what, const Sample& ours, const std::string& other, const Sample& theirs,
             const Aim& aim)
{
    const double ratio = ours.per_second / theirs.per_second;
    return {what,
            text_of(ours),
            text_of(theirs),
            fmt::format("{:.2f} x {}{}{}", ratio, other, aim.value ? ", " : "", aim_text(aim, {})),
            judge(aim, ratio),
            {{"ours", to_json(ours)}, {other, to_json(theirs)}, {"ratio", ratio}, {"aim", to_json(aim)}}};
}

Row figure_row(const std::string& what, double ours, const std::string& unit, const Aim& aim, const std::string& beside)
{
    return {what,
            fmt::format("{:>9.4g} {}", ours, unit),
            beside,
            aim_text(aim, " " + unit),
            judge(aim, ours),
            {{"ours", ours}, {"unit", unit}, {"aim", to_json(aim)}, {"beside", beside}}};
}

Row failed_row(const std::string& what, const std::string& reason)
{
    return {what, {}, {}, reason, Verdict::failed, {{"error", reason}}};
}

std::string print_table(const std::vector<Row>& rows)
{
    using Cells = std::array<std::string, 5>;
    static constexpr const char* kFigures = "     rate  p50 us  p99 us cpu us";
    std::vector<Cells> lines{{"", "ours", "beside", "", ""}, {"what", kFigures, kFigures, "result", "verdict"}};
    std::string failures;
    for (const Row& row : rows) {
        if (row.verdict == Verdict::failed) {
            failures += fmt::format("\n{}: {}: {}\n", word(row.verdict), row.what, row.result);
        } else {
            lines.push_back({row.what, row.ours, row.beside, row.result, word(row.verdict)});
        }
    }
    std::array<std::size_t, 5> widths{};
    for (const Cells& cells : lines) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            widths[i] = std::max(widths[i], cells[i].size());
        }
    }
    std::string out;
    for (const Cells& cells : lines) {
        std::string line;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            line += fmt::format("{:<{}}", cells[i], widths[i] + 2);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out += line + "\n";
    }
    return out + failures;
}

nlohmann::json to_json(const std::vector<Row>& rows)
{
    nlohmann::json all = nlohmann::json::array();
    for (const Row& row : rows) {
        nlohmann::json entry = row.figures;
        entry["what"] = row.what;
        entry["verdict"] = word(row.verdict);
        all.push_back(std::move(entry));
    }
    return all;
}

} // namespace zpf::bench
