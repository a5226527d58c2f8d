// SPDX-License-Identifier: Apache-2.0
//
// A loaded plug-in: what it exports, and which of it the framework calls. Nothing is registered: entry walkers are
// found by the name that follows from a model's module and top node, so the next plug-in needs no change here.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "zpf/records.h"
#include "zpf_map/schema.hpp"
#include "zpf_map/tree.hpp"

namespace zpf {

/// A host's set-up went wrong; the text names what and where.
class ZPF_API Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

using Walker = qerrno (*)(zpf_map_ctx, const qidl_zpf_datatree*, qidl_zpf_datatree*);
using ContainerCallback = qerrno (*)(zpf_map_ctx, const qidl_zpf_datatree*, uint32_t, qidl_zpf_datatree*);

struct ExportedSymbol {
    std::string name;
    void* address = nullptr;
    bool weak = false;
    bool function = false;
};

/// A module's or node's name as symbols have it: lower case, hyphens dropped.
ZPF_API std::string symbol_part(std::string_view name);

/// "<path>" of a node's symbols: at most the top node, the parent and the node itself, joined by "_".
ZPF_API std::string symbol_path(const SchemaNode& node);

class ZPF_API Plugin {
public:
    /// Loads the library. Throws Failure when it cannot be loaded or exports nothing that a plug-in exports.
    explicit Plugin(const std::string& file);
    ~Plugin();
    Plugin(Plugin&&) noexcept;
    Plugin& operator=(Plugin&&) noexcept;

    const std::string& file() const { return file_; }
    /// The name all its symbols carry, e.g. "ocopticalattenuator" in "ymap_ox_ocopticalattenuator_...".
    const std::string& id() const { return id_; }
    /// Everything the library exports, sorted by name.
    const std::vector<ExportedSymbol>& exports() const { return exports_; }
    /// The exported symbol, or null.
    const ExportedSymbol* find(std::string_view name) const;

private:
    struct Unload {
        void operator()(void* handle) const;
    };
    std::string file_;
    std::string id_;
    std::unique_ptr<void, Unload> handle_;
    std::vector<ExportedSymbol> exports_;
};

/// An entry walker: called with the top node of a tree.
struct EntryWalker {
    const SchemaNode* top;
    std::string name;
    Walker walk;
};

/// The entry walkers of a plug-in for the models given.
struct EntryWalkers {
    std::vector<EntryWalker> to_low;  ///< by client model
    std::vector<EntryWalker> to_high; ///< by native model: configuration before operational data

    /// Throws Failure naming the walker when a module that the plug-in maps has a top node without one.
    ZPF_API static EntryWalkers find(const Plugin& plugin, const Schema& schema);
};

} // namespace zpf
