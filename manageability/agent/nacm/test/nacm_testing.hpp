// SPDX-License-Identifier: Apache-2.0
//
// Two small models, data for them and access rules as texts.
#pragma once

#include <libyang/libyang.h>
#include <memory>
#include <string>
#include <vector>

#include "zpf_nacm/nacm.hpp"

namespace zpf::agent::testing {

struct FreeTree {
    void operator()(lyd_node* tree) const noexcept { lyd_free_all(tree); }
};
using Tree = std::unique_ptr<lyd_node, FreeTree>;

/// A context with ietf-netconf, ietf-netconf-acm, `house` and `annex` (which augments it), the same for all tests.
const ly_ctx& context();

const lys_module& module_named(const std::string& name);

/// A top-level operation, notification or data node.
const lysc_node& schema_of(const std::string& module, const std::string& name);

/// Data from XML with the prefixes h (house) and a (annex); not validated. Throws std::runtime_error.
Tree parse_data(const std::string& xml);

/// Data with these children of /h:house.
Tree house(const std::string& children);

/// The first notification or action in the document, parsed as such.
struct Event {
    Tree tree;
    const lyd_node* node = nullptr;
};
Event parse_notification(const std::string& xml);
Event parse_action(const std::string& xml);

/// Rules from the children of the `nacm` container.
std::shared_ptr<const Nacm> compile(const std::string& children);

/// `name` is made up; `rest`: more elements, such as a path.
std::string rule(const std::string& action, const std::string& accesses, const std::string& rest);
std::string on_path(const std::string& action, const std::string& accesses, const std::string& path);

/// A rule-list for the group.
std::string rules_for(const std::string& group, const std::vector<std::string>& rules);

/// A group with one member.
std::string group(const std::string& name, const std::string& user);

/// Rules for ann, who is in group staff; `settings`: more children of `nacm`.
std::shared_ptr<const Nacm> for_ann(const std::vector<std::string>& rules, const std::string& settings = "");

/// Paths with values of all leaves, and paths of inner nodes that hold nothing.
std::vector<std::string> lines_of(const lyd_node* tree);

/// What is left of the data for the user.
std::vector<std::string> visible(const Nacm& nacm, const Who& who, const std::string& children_of_house);

/// The refused path of a write from one state of /h:house to another; "permitted" if there is none.
std::string refused(const Nacm& nacm, const Who& who, const std::string& before, const std::string& after);

inline const Who kAnn{"ann", {}, false};
inline const Who kBob{"bob", {}, false};
inline const Who kRecovery{"root", {}, true};

} // namespace zpf::agent::testing
