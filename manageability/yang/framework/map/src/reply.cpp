// SPDX-License-Identifier: Apache-2.0
//
// Final sweep and client filter. The filter marks what it selects and then drops the rest, so that several filter
// entries for one list add up without a merge.
#include "reply.hpp"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>

#include "node_array.hpp"
#include "output_lists.hpp"
#include "tree_query.hpp"

namespace zpf {

namespace {

constexpr uint32_t kSelected = 1; // in fw_mark, which replies have no other use for

bool is_empty_container(const Node& node, const SchemaNode* own)
{
    return own != nullptr && own->kind == NodeKind::container && children(node).empty();
}

void sweep_level(Node& parent, const Schema& schema, const SchemaNode* above)
{
    for (uint32_t i = parent.subtree_count; i-- > 0 && !children(parent).empty();) {
        Node& node = parent.subtrees[i];
        const SchemaNode* const own = schema_of(schema, above, node);
        const bool keyless = own != nullptr && own->kind == NodeKind::list && !has_all_keys(node, *own);
        if (!keyless && own != nullptr) {
            sweep_level(node, schema, own);
        }
        if (keyless || is_empty_container(node, own)) {
            remove_child(parent, i);
        }
    }
    if (above != nullptr && above->kind == NodeKind::list) {
        const auto nodes = children(parent);
        const auto rank = [&](const Node& node) {
            return std::find(above->keys.begin(), above->keys.end(), tag_of(node)) - above->keys.begin();
        };
        const auto keys_first = [&](const Node& a, const Node& b) { return rank(a) < rank(b); };
        if (!std::is_sorted(nodes.begin(), nodes.end(), keys_first)) {
            std::stable_sort(nodes.begin(), nodes.end(), keys_first);
        }
    }
}

std::optional<double> as_number(std::string_view text)
{
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() ? std::optional{number} : std::nullopt;
}

bool matches(const Node& wanted, const Node& leaf, const SchemaNode* own)
{
    const auto a = value_of(wanted);
    const auto b = value_of(leaf);
    if (a && b && own != nullptr && own->numeric) {
        const auto left = as_number(*a);
        const auto right = as_number(*b);
        return left && right && std::equal_to<double>{}(*left, *right);
    }
    return a == b;
}

bool same_name(const Node& wanted, const Node& node)
{
    return has_tag(node, tag_of(wanted)) &&
           (wanted.ns == nullptr || node.ns == nullptr || wanted.ns == node.ns || std::strcmp(wanted.ns, node.ns) == 0);
}

void mark_all(Node& node)
{
    node.fw_mark |= kSelected;
    for (Node& child : children(node)) {
        mark_all(child);
    }
}

/// True when each content match of the filter's level holds; the leaves that match are marked if it does.
bool match_content(const Node& filter, Node& node, const SchemaNode* own)
{
    for (const Node& wanted : children(filter)) {
        if (!value_of(wanted)) {
            continue;
        }
        const auto leaves = children(node);
        const auto found = std::find_if(leaves.begin(), leaves.end(), [&](const Node& leaf) {
            return same_name(wanted, leaf) && matches(wanted, leaf, own ? own->find(tag_of(leaf)) : nullptr);
        });
        if (found == leaves.end()) {
            return false;
        }
    }
    return true;
}

/// Marks what the filter's children select of the node. @return whether anything
bool mark_selected(const Node& filter, Node& node, const SchemaNode* own)
{
    if (!match_content(filter, node, own)) {
        return false;
    }
    const auto wants = children(filter);
    if (std::all_of(wants.begin(), wants.end(), [](const Node& wanted) { return value_of(wanted).has_value(); })) {
        mark_all(node);
        return true;
    }
    bool any = false;
    for (Node& child : children(node)) {
        const SchemaNode* const below = own ? own->find(tag_of(child)) : nullptr;
        for (const Node& wanted : wants) {
            if (!same_name(wanted, child)) {
                continue;
            }
            if (children(wanted).empty()) { // a selection, or a content match that holds
                mark_all(child);
                any = true;
            } else if (mark_selected(wanted, child, below)) {
                any = true;
            }
        }
    }
    if (any) {
        node.fw_mark |= kSelected;
        for (Node& child : children(node)) {
            child.fw_mark |= own != nullptr && own->is_key(tag_of(child)) ? kSelected : 0;
        }
    }
    return any;
}

bool drop_unmarked(Node& parent)
{
    bool any = false;
    for (uint32_t i = parent.subtree_count; i-- > 0 && !children(parent).empty();) {
        Node& node = parent.subtrees[i];
        if ((node.fw_mark & kSelected) == 0) {
            remove_child(parent, i);
            any = true;
        } else {
            node.fw_mark = 0;
            any = drop_unmarked(node) || any;
        }
    }
    return any;
}

} // namespace

void sweep(Node& parent, const Schema& schema)
{
    sweep_level(parent, schema, nullptr);
}

bool cut_to_filter(Node& reply, const Node& request, const Schema& schema)
{
    if (children(request).empty()) {
        return false;
    }
    for (Node& top : children(reply)) {
        for (const Node& wanted : children(request)) {
            if (same_name(wanted, top)) {
                mark_selected(wanted, top, schema.find_top(tag_of(top)));
            }
        }
    }
    return drop_unmarked(reply);
}

} // namespace zpf
