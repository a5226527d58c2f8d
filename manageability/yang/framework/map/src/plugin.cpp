// SPDX-License-Identifier: Apache-2.0
//
// Loading of plug-ins and the naming rule of their symbols.
#include "zpf_map/plugin.hpp"

#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <set>

#include "elf_symbols.hpp"

namespace zpf {

namespace {

constexpr std::string_view kToLow = "ymap_ox_";
constexpr std::string_view kToHigh = "ymap_xo_";

/// "<id>" of "ymap_<dir>_<id>_<module>_...", or empty.
std::string_view id_of(std::string_view symbol)
{
    if (!symbol.starts_with(kToLow) && !symbol.starts_with(kToHigh)) {
        return {};
    }
    symbol.remove_prefix(kToLow.size());
    return symbol.substr(0, symbol.find('_'));
}

std::string common_id(const std::string& file, const std::vector<ExportedSymbol>& exports)
{
    std::set<std::string_view> ids;
    for (const ExportedSymbol& symbol : exports) {
        if (const auto id = id_of(symbol.name); !id.empty()) {
            ids.insert(id);
        }
    }
    if (ids.empty()) {
        throw Failure(file +
                      ": not a mapping plug-in: it exports no symbol that begins with \"ymap_ox_\" or \"ymap_xo_\"");
    }
    if (ids.size() > 1) {
        throw Failure(file + ": not one mapping plug-in: its symbols carry the names \"" + std::string(*ids.begin()) +
                      "\" and \"" + std::string(*std::next(ids.begin())) + "\"");
    }
    return std::string(*ids.begin());
}

} // namespace

std::string symbol_part(std::string_view name)
{
    std::string part;
    for (const char c : name) {
        if (c != '-') {
            part.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
        }
    }
    return part;
}

std::string symbol_path(const SchemaNode& node)
{
    const SchemaNode* top = &node;
    // Nodes that augment another module's tree are named from the first node of their own module.
    while (top->parent != nullptr && !top->parent->tag.empty() && top->parent->module == node.module) {
        top = top->parent;
    }
    std::string path = symbol_part(top->tag);
    if (&node != top && node.parent != top) {
        path += "_" + symbol_part(node.parent->tag);
    }
    if (&node != top) {
        path += "_" + symbol_part(node.tag);
    }
    return path;
}

void Plugin::Unload::operator()(void* handle) const
{
    dlclose(handle);
}

Plugin::Plugin(const std::string& file) : file_(file)
{
    exports_ = read_exports(file); // judges the file before any of its code can run
    id_ = common_id(file, exports_);
    // A bare name would be looked for where libraries are installed and not in the current folder.
    const std::string path = file.find('/') == std::string::npos ? "./" + file : file;
    handle_.reset(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!handle_) {
        throw Failure(file + ": cannot be loaded: " + dlerror());
    }
    for (ExportedSymbol& symbol : exports_) {
        symbol.address = dlsym(handle_.get(), symbol.name.c_str());
    }
}

Plugin::~Plugin() = default;
Plugin::Plugin(Plugin&&) noexcept = default;
Plugin& Plugin::operator=(Plugin&&) noexcept = default;

const ExportedSymbol* Plugin::find(std::string_view name) const
{
    const auto found =
        std::lower_bound(exports_.begin(), exports_.end(), name,
                         [](const ExportedSymbol& symbol, std::string_view key) { return symbol.name < key; });
    return found != exports_.end() && found->name == name ? &*found : nullptr;
}

namespace {

/// Appends the entry walkers of one direction, for every top node of every module that the plug-in has symbols for.
void find_walkers(const Plugin& plugin, const Schema& schema, std::string_view direction, std::vector<EntryWalker>& out)
{
    for (const auto& top : schema.tops()) {
        const std::string prefix = std::string(direction) + plugin.id() + "_" + symbol_part(top->module) + "_";
        const auto& exports = plugin.exports();
        if (std::none_of(exports.begin(), exports.end(),
                         [&](const ExportedSymbol& symbol) { return symbol.name.starts_with(prefix); })) {
            continue; // a model that this plug-in does not map
        }
        const std::string name = prefix + "lvla_" + symbol_part(top->tag);
        const ExportedSymbol* symbol = plugin.find(name);
        if (symbol == nullptr || !symbol->function) {
            throw Failure(plugin.file() + ": lacks the entry walker " + name + " of /" + top->module + ":" + top->tag);
        }
        out.push_back({top.get(), name, reinterpret_cast<Walker>(symbol->address)});
    }
}

} // namespace

EntryWalkers EntryWalkers::find(const Plugin& plugin, const Schema& schema)
{
    EntryWalkers walkers;
    find_walkers(plugin, schema, kToLow, walkers.to_low);
    find_walkers(plugin, schema, kToHigh, walkers.to_high);
    // What is configured wins over what is read off the device, so configuration is walked first.
    std::stable_partition(walkers.to_high.begin(), walkers.to_high.end(),
                          [](const EntryWalker& walker) { return walker.top->config; });
    if (walkers.to_low.empty()) {
        throw Failure(plugin.file() + ": maps none of the models given: it has no symbol \"" + std::string(kToLow) +
                      plugin.id() + "_<module>_...\" for any of them");
    }
    return walkers;
}

} // namespace zpf
