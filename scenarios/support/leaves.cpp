// SPDX-License-Identifier: Apache-2.0
//
// Leaves with their paths, and the difference of two trees.
#include "leaves.hpp"

#include <algorithm>

namespace zpf::scenarios {

namespace {

std::string predicates_of(const Node& entry, const SchemaNode* own)
{
    std::string text;
    if (own == nullptr || own->kind != NodeKind::list) {
        return text;
    }
    for (const std::string& key : own->keys) {
        const Node* const leaf = find_child(entry, key);
        const auto value = leaf ? value_of(*leaf) : std::nullopt;
        text += value ? "[" + key + "='" + std::string(*value) + "']" : "[" + key + "?]";
    }
    return text;
}

void collect(const Node& parent, const SchemaNode* above, const Schema& schema, const std::string& path,
             std::vector<std::string>& out)
{
    for (const Node& node : children(parent)) {
        const std::string tag(tag_of(node));
        const SchemaNode* const own = path.empty() ? schema.find_top(tag) : above ? above->find(tag) : nullptr;
        std::string here = path;
        here.append("/").append(tag).append(predicates_of(node, own));
        if (const auto value = value_of(node)) {
            out.push_back(here + " = \"" + std::string(*value) + "\"");
        } else if (children(node).empty() && (own == nullptr || own->kind != NodeKind::container)) {
            out.push_back(here);
        }
        collect(node, own, schema, here, out);
    }
}

} // namespace

std::vector<std::string> leaves_of(const Schema& schema, const Node& root)
{
    std::vector<std::string> leaves;
    collect(root, nullptr, schema, "", leaves);
    return leaves;
}

Changes changes_between(const Schema& schema, const Node& before, const Node& after)
{
    std::vector<std::string> old_leaves = leaves_of(schema, before);
    std::vector<std::string> new_leaves = leaves_of(schema, after);
    std::sort(old_leaves.begin(), old_leaves.end());
    std::sort(new_leaves.begin(), new_leaves.end());
    std::vector<std::string> gone;
    std::vector<std::string> added;
    std::set_difference(old_leaves.begin(), old_leaves.end(), new_leaves.begin(), new_leaves.end(),
                        std::back_inserter(gone));
    std::set_difference(new_leaves.begin(), new_leaves.end(), old_leaves.begin(), old_leaves.end(),
                        std::back_inserter(added));
    Changes changes;
    for (const std::string& leaf : gone) {
        changes.lines.push_back("- " + leaf);
    }
    for (const std::string& leaf : added) {
        changes.lines.push_back("+ " + leaf);
    }
    changes.unchanged = old_leaves.size() - gone.size();
    return changes;
}

} // namespace zpf::scenarios
