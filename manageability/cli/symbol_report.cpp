// SPDX-License-Identifier: Apache-2.0
//
// Sorting of exports: names follow from the models, so what is left over is told apart by form alone.
#include "symbol_report.hpp"

#include <algorithm>
#include <set>

#include "trace_line.hpp"

namespace zpf::cli {

namespace {

const char* kind_word(const SchemaNode& node)
{
    switch (node.kind) {
    case NodeKind::container:
        return "cont";
    case NodeKind::list:
        return "list";
    case NodeKind::leaf:
    case NodeKind::leaf_list:
        break;
    }
    return "leaf";
}

const char* default_word(const SchemaNode& node)
{
    switch (node.kind) {
    case NodeKind::container:
        return "duck_map_container";
    case NodeKind::list:
        return "duck_map_list";
    case NodeKind::leaf:
    case NodeKind::leaf_list:
        break;
    }
    return "duck_map_leaf";
}

class Reporter {
public:
    Reporter(const Plugin& plugin, const Schema& schema) : plugin_(plugin), schema_(schema) {}

    SymbolReport run()
    {
        report_.walkers = EntryWalkers::find(plugin_, schema_);
        for (const auto* walkers : {&report_.walkers.to_low, &report_.walkers.to_high}) {
            for (const EntryWalker& walker : *walkers) {
                used_.insert(walker.name);
            }
        }
        for (const auto& top : schema_.tops()) {
            add_rows(*top);
        }
        for (const ExportedSymbol& symbol : plugin_.exports()) {
            if (!used_.contains(symbol.name)) {
                sort_left_over(symbol.name);
            }
        }
        return std::move(report_);
    }

private:
    std::string prefix(const SchemaNode& node, bool to_low) const
    {
        return std::string(to_low ? "ymap_ox_" : "ymap_xo_") + plugin_.id() + "_" + symbol_part(node.module) + "_";
    }

    bool maps(const SchemaNode& node, bool to_low) const
    {
        const std::string start = prefix(node, to_low);
        return std::any_of(plugin_.exports().begin(), plugin_.exports().end(),
                           [&](const ExportedSymbol& symbol) { return symbol.name.starts_with(start); });
    }

    ModuleReport& module_of(const SchemaNode& node, bool to_low)
    {
        for (ModuleReport& module : report_.modules) {
            if (module.module == node.module && module.to_low == to_low) {
                return module;
            }
        }
        return report_.modules.emplace_back(ModuleReport{node.module, to_low, {}});
    }

    void add_rows(const SchemaNode& node)
    {
        for (const bool to_low : {true, false}) {
            if (maps(node, to_low)) {
                module_of(node, to_low).rows.push_back(row_of(node, to_low));
            }
        }
        for (const auto& child : node.children) {
            add_rows(*child);
        }
    }

    CallbackRow row_of(const SchemaNode& node, bool to_low)
    {
        CallbackRow row{&node, {}, {}, false, {}};
        const std::string start = prefix(node, to_low);
        const ExportedSymbol* const symbol = plugin_.find(start + kind_word(node) + "_lvla_" + symbol_path(node));
        if (symbol == nullptr) {
            return row;
        }
        row.symbol = symbol->name;
        row.weak = symbol->weak;
        used_.insert(symbol->name);
        const ExportedSymbol* const shared = plugin_.find(start + default_word(node));
        if (shared != nullptr && shared->address == symbol->address) {
            row.alias_of = shared->name;
        }
        row.finding = probe_callback(schema_, node, *symbol);
        return row;
    }

    void sort_left_over(const std::string& name)
    {
        const auto ends = [&name](std::string_view end) { return name.ends_with(end); };
        if (!name.starts_with("ymap_")) {
            report_.others.push_back(name);
        } else if (ends("_duck_map_container") || ends("_duck_map_list") || ends("_duck_map_leaf")) {
            report_.defaults.push_back(name);
        } else if (role_of(name) == Role::walker) {
            report_.other_walkers.push_back(name);
        } else {
            report_.strays.push_back(name);
        }
    }

    const Plugin& plugin_;
    const Schema& schema_;
    SymbolReport report_;
    std::set<std::string> used_;
};

} // namespace

SymbolReport report_symbols(const Plugin& plugin, const Schema& schema)
{
    return Reporter(plugin, schema).run();
}

} // namespace zpf::cli
