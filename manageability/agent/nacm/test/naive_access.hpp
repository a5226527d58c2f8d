// SPDX-License-Identifier: Apache-2.0
//
// Access control written down once more, slowly: every node is compared with every rule by its path, as texts.
#pragma once

#include <libyang/libyang.h>
#include <map>
#include <string>
#include <vector>

namespace zpf::agent::testing {

/// One node of a rule's path, with the keys that it asks for.
struct NaiveStep {
    std::string node; ///< "module:name"
    std::map<std::string, std::string> keys;
};

struct NaiveRule {
    std::string module = "*";
    bool has_path = false;
    std::vector<NaiveStep> path;
    std::string accesses; ///< words, or "*"
    bool permit = false;
};

/// Rules of one user who is in a group.
struct NaiveAccess {
    bool read_default = true;
    bool write_default = false;
    std::vector<NaiveRule> rules;

    bool permits(const lyd_node& node, const std::string& access) const;
    bool readable(const lyd_node& node) const; ///< with all above it, and the keys of entries
    std::string as_xml() const;                ///< children of `nacm`, for user ann

    /// Lines of the leaves and empty containers that the user may read, in the order of the tree.
    std::vector<std::string> visible(const lyd_node* tree) const;

    /// Whether the user may turn one tree into the other.
    bool may_write(const lyd_node* before, const lyd_node* after) const;

private:
    bool may_reorder(const std::vector<const lyd_node*>& before, const std::vector<std::string>& after) const;
};

} // namespace zpf::agent::testing
