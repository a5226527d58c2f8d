// SPDX-License-Identifier: Apache-2.0
//
// Between records of the store and trees: libyang's, for everything that the models judge, and the framework's, for
// mappings.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "kelda/store.hpp"
#include "record_path.hpp"
#include "yang.hpp"
#include "zpf_map/driver.hpp"
#include "zpf_map/tree.hpp"

namespace zpf::agent {

using Records = std::map<std::string, std::string, std::less<>>;

/// Name of the record of a top node, "/config/module:name".
std::string record_name(const lysc_node& top);
/// Name of the record of a data node.
std::string record_name(const lyd_node& node);

/// A list entry of its own with these values of its keys, in their order; null when the model does not take them.
/// @param parent where it could stand: libyang makes nodes below the top in their place only; null for a top list
bridge::DataPtr new_entry(const lysc_node& list, const std::vector<std::string>& keys, lyd_node* parent);

/// Adds the records of the trees (a node and the siblings after it). Values that stem from defaults have none.
void add_records(const lyd_node* first, Records& records);
/// The same for native data of the framework's shape.
void add_records(const Schema& schema, const Node& root, Records& records);

/// Builds libyang data from records; each name is good for the nodes that lead to it, so a record of a leaf brings its
/// list entry along.
class TreeBuilder {
public:
    explicit TreeBuilder(const Yang& yang) : yang_(yang) {}

    /// Adds all records at or below the name.
    void load(const kelda::Reader& reader, std::string_view name);
    /// Adds one. Records that the models do not know (any more) are left out, and told of in problems().
    void add(std::string_view name, std::string_view value);

    /// The data, users' orders restored. The builder is empty afterwards.
    bridge::DataPtr take();
    const std::vector<std::string>& problems() const { return problems_; }

private:
    struct Level {
        std::string step;
        lyd_node* node;
    };
    lyd_node* descend(lyd_node* parent, const PathStep& step, std::string_view value, bool last);
    lyd_node* make(lyd_node* parent, const lysc_node& schema, const PathStep& step, std::string_view value);
    lyd_node* make_entry(lyd_node* parent, const lysc_node& schema, const PathStep& step);
    void adopt_top(lyd_node* node);

    const Yang& yang_;
    bridge::DataPtr tree_;
    std::vector<Level> open_; ///< nodes that lead to the record before: its neighbours mostly share them
    std::map<const lyd_node*, unsigned long> places_;
    std::vector<std::string> problems_;
};

/// Native data from the store, as mappings ask for them.
class StoreSource final : public NativeSource {
public:
    /// All must outlive the source. `operational` null: there are no readings.
    StoreSource(const Yang& yang, const kelda::Reader& config, const kelda::Reader* operational)
        : yang_(yang), config_(config), operational_(operational)
    {}
    void select(const Node& selection, Tree& out) const override;

private:
    using Names = std::set<std::string, std::less<>>; ///< that were handed out: a selection may name an entry twice

    void select_config(const Node& selection, const SchemaNode& own, std::string& name, Tree& out, Names& done) const;
    void select_entries(const Node& selection, const SchemaNode& own, std::string& name, Tree& out, Names& done) const;
    void add_all(std::string_view prefix, bool whole_names, Tree& out, Names& done) const;

    const Yang& yang_;
    const kelda::Reader& config_;
    const kelda::Reader* operational_;
};

} // namespace zpf::agent
