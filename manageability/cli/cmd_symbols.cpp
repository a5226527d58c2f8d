// SPDX-License-Identifier: Apache-2.0
//
// Printing of a plug-in's exports.
#include "cmd_symbols.hpp"

#include <fmt/format.h>

#include <map>
#include <nlohmann/json.hpp>

#include "symbol_report.hpp"
#include "zpf_bridge/models.hpp"

namespace zpf::cli {

namespace {

const char* direction(bool to_low)
{
    return to_low ? "OpenConfig to native" : "native to OpenConfig";
}

std::string treatment(const CallbackRow& row)
{
    if (row.symbol.empty()) {
        return "no callback";
    }
    return to_string(row.finding.treatment);
}

std::string remark(const CallbackRow& row)
{
    if (!row.finding.by.empty()) {
        return row.finding.by;
    }
    return row.alias_of.empty() ? std::string{} : "as " + row.alias_of;
}

void print_names(const Style& style, const char* heading, const std::vector<std::string>& names)
{
    if (names.empty()) {
        return;
    }
    fmt::print("{}{} ({}){}\n", style.heading, heading, names.size(), style.off);
    for (const std::string& name : names) {
        fmt::print("  {}\n", name);
    }
}

void print_rows(const Style& style, const ModuleReport& module)
{
    std::map<std::string, int> counts;
    for (const CallbackRow& row : module.rows) {
        ++counts[treatment(row)];
    }
    fmt::print("{}{}, {}{}\n ", style.heading, module.module, direction(module.to_low), style.off);
    for (const auto& [what, count] : counts) {
        fmt::print(" {} {}", count, what);
    }
    fmt::print("\n");
    for (const CallbackRow& row : module.rows) {
        const auto colour = row.symbol.empty()                             ? style.dim
                            : row.finding.treatment == Treatment::mapped   ? style.good
                            : row.finding.treatment == Treatment::accepted ? std::string_view{}
                                                                           : style.bad;
        fmt::print("  {}{:<11}{} {:<84} {}\n", colour, treatment(row), style.off, row.node->path(), remark(row));
    }
}

void print_text(const Plugin& plugin, const SymbolReport& report, const Style& style)
{
    fmt::print("{}{}{}: {}, {} exported symbols\n", style.heading, plugin.id(), style.off, plugin.file(),
               plugin.exports().size());
    for (const auto* walkers : {&report.walkers.to_low, &report.walkers.to_high}) {
        fmt::print("{}entry walkers, {}{}\n", style.heading, direction(walkers == &report.walkers.to_low), style.off);
        for (const EntryWalker& walker : *walkers) {
            fmt::print("  /{}:{}  {}\n", walker.top->module, walker.top->tag, walker.name);
        }
    }
    for (const ModuleReport& module : report.modules) {
        print_rows(style, module);
    }
    print_names(style, "defaults", report.defaults);
    print_names(style, "augment walkers", report.other_walkers);
    print_names(style, "translations, utilities and data", report.others);
    print_names(style, "callbacks of no node of the models", report.strays);
}

void print_json(const Plugin& plugin, const SymbolReport& report)
{
    nlohmann::ordered_json out{{"plugin", plugin.file()}, {"id", plugin.id()}};
    for (const auto* walkers : {&report.walkers.to_low, &report.walkers.to_high}) {
        for (const EntryWalker& walker : *walkers) {
            out["entry-walkers"].push_back({{"module", walker.top->module},
                                            {"path", walker.top->path()},
                                            {"to-low", walkers == &report.walkers.to_low},
                                            {"symbol", walker.name}});
        }
    }
    for (const ModuleReport& module : report.modules) {
        for (const CallbackRow& row : module.rows) {
            out["callbacks"].push_back({{"module", module.module},
                                        {"path", row.node->path()},
                                        {"to-low", module.to_low},
                                        {"treatment", treatment(row)},
                                        {"by", row.finding.by},
                                        {"symbol", row.symbol},
                                        {"alias-of", row.alias_of},
                                        {"weak", row.weak}});
        }
    }
    out["defaults"] = report.defaults;
    out["augment-walkers"] = report.other_walkers;
    out["others"] = report.others;
    out["strays"] = report.strays;
    fmt::print("{}\n", out.dump(2));
}

} // namespace

int run_symbols(const SymbolsOptions& options)
{
    const bridge::Models models(options.yang_dirs);
    const Plugin plugin(options.plugin);
    const SymbolReport report = report_symbols(plugin, models.schema());
    if (options.json) {
        print_json(plugin, report);
    } else {
        print_text(plugin, report, Style::of(stdout, options.colour));
    }
    return kDone;
}

} // namespace zpf::cli
