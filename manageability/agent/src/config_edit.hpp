// SPDX-License-Identifier: Apache-2.0
//
// An edit of configuration that is kept as it is written: of the native models, and of the agent's own.
#pragma once

#include <set>
#include <string>

#include "element.hpp"
#include "operation.hpp"
#include "overlay.hpp"
#include "records.hpp"
#include "yang.hpp"
#include "zpf_nacm/nacm.hpp"

namespace zpf::agent {

/**
 * Applies elements to the part of the configuration that they name, and says what would change. Nothing else is loaded,
 * so the cost does not grow with the configuration.
 */
class ConfigEdit {
public:
    /// Both must outlive the edit.
    ConfigEdit(const Yang& yang, const kelda::Reader& base) : yang_(yang), base_(base), loader_(yang) {}

    /// Announces a top element; all are announced before the first is applied. Throws Refused.
    void prepare(Element top, Operation default_operation);
    /// Applies it. Throws Refused; the edit is then good for nothing.
    void apply(Element top, Operation default_operation);

    /// Adds what changes. Throws Refused (access-denied) when the rules do not let the user make it.
    /// @return what there is afterwards of all that the elements speak of
    Records finish(const Nacm& nacm, const Who& who, NacmCounters& counters, ChangeMap& changes);

private:
    void load(Element element, const lysc_node& schema, std::string name, bool whole);
    void load_once(const std::string& name);
    void start();

    const lysc_node& top_schema(Element top) const;
    void apply(Element element, const lysc_node& schema, lyd_node* parent, Operation inherited);
    void apply_leaf(Element element, bridge::DataPtr fresh, lyd_node* parent, lyd_node* found);
    void apply_inner(Element element, lyd_node& node, Operation operation);
    bridge::DataPtr make(Element element, const lysc_node& schema, lyd_node* parent) const;
    bridge::DataPtr parse_leaf(Element element, const lysc_node& schema, lyd_node* parent) const;
    lyd_node* insert(bridge::DataPtr fresh, lyd_node* parent);
    void place(Element element, lyd_node& node) const;
    void remove_other_cases(const lysc_node& schema, lyd_node* parent);
    void remove(lyd_node* node);
    lyd_node* find(const lyd_node& like, lyd_node* parent) const;

    const Yang& yang_;
    const kelda::Reader& base_;
    TreeBuilder loader_;
    std::set<std::string> loaded_;
    std::set<std::pair<const lyd_node*, const lysc_node*>> replaced_; ///< parents, and what went for another case
    bool started_ = false;
    bridge::DataPtr before_;
    bridge::DataPtr after_;
};

/**
 * Judges configuration as it would be after the changes: whole where pieces refer to each other, otherwise only the
 * list entries that changed. Throws Refused.
 * @param after the configuration with the changes
 */
void validate(const Yang& yang, const kelda::Reader& after, const ChangeMap& changes);

/// Throws Refused (invalid-value) when the changes give an access rule a path that nothing can be judged by: such a
/// rule would match nothing, and what it is to protect would stay open.
void check_rule_paths(const Yang& yang, const ChangeMap& changes);

/// The same as validate() for everything that there is, but for paths of access rules: older ones may stay.
void validate_all(const Yang& yang, const kelda::Reader& config);

/// Path of data with key predicates and without prefixes, as clients are told it.
std::string plain_path(const lyd_node& node);

} // namespace zpf::agent
