// SPDX-License-Identifier: Apache-2.0
//
// Paths, counterparts and the sanity of request trees.
#include "tree_query.hpp"

#include <algorithm>

#include "output_lists.hpp"
#include "refusal.hpp"

namespace zpf {

namespace {

constexpr std::size_t kDeepestRequest = 64; // levels; models are far flatter, hostile input is not

std::optional<Refusal> damage(const std::string& path, const char* what)
{
    Refusal refusal = refuse("operation-failed", path, what);
    refusal.code = ZPF_RC_BAD_TREE;
    refusal.app_tag = code_name(refusal.code);
    return refusal;
}

std::optional<Refusal> find_damage_below(const Node& parent, std::size_t depth)
{
    if ((parent.state_flags & ZPF_STATE_SUBTREES) != 0 && parent.subtrees == nullptr && parent.subtree_count != 0) {
        return damage("", "The request tree is damaged: children are counted that are not there.");
    }
    if (depth > kDeepestRequest) {
        return damage("", "The request is nested too deeply.");
    }
    for (const Node& child : children(parent)) {
        if (child.tag == nullptr) {
            return damage("", "The request tree is damaged: an element has no name.");
        }
        if (auto found = find_damage_below(child, depth + 1)) {
            found->path.insert(0, std::string("/") + child.tag); // put together only where there is something to tell
            return found;
        }
    }
    return std::nullopt;
}

void collect_entries(const Schema& schema, const SchemaNode* above, const Node& parent, std::vector<const Node*>& out)
{
    for (const Node& node : children(parent)) {
        const SchemaNode* const own = schema_of(schema, above, node);
        if (own != nullptr && own->kind == NodeKind::list) {
            out.push_back(&node);
        } else if (own != nullptr) {
            collect_entries(schema, own, node, out);
        }
    }
}

} // namespace

const SchemaNode* schema_of(const Schema& schema, const SchemaNode* above, const Node& node)
{
    return above ? above->find(tag_of(node)) : schema.find_top(tag_of(node));
}

std::optional<Refusal> find_damage(const Node* request)
{
    return request ? find_damage_below(*request, 0) : damage("", "There is no request tree.");
}

bool contains(const Node& top, const Node* node)
{
    const auto below = children(top);
    return &top == node ||
           std::any_of(below.begin(), below.end(), [node](const Node& child) { return contains(child, node); });
}

const Node* key_leaf(const Node& entry, const std::string& key)
{
    const Node* leaf = find_child(entry, key);
    return leaf && has_text(*leaf) ? leaf : nullptr;
}

const Node* find_same_entry(const Node& parent, const Node& entry, const SchemaNode& list)
{
    for (const Node& other : children(parent)) {
        if (has_tag(other, list.tag) && have_same_keys(other, entry, list)) {
            return &other;
        }
    }
    return nullptr;
}

const Node* find_counterpart(const Node& parent, const Node& node, const SchemaNode* schema)
{
    if (schema != nullptr && schema->kind == NodeKind::list) {
        return find_same_entry(parent, node, *schema);
    }
    return find_child(parent, tag_of(node));
}

std::string predicates(const Node& entry, const SchemaNode* list)
{
    std::string out;
    if (list == nullptr || list->kind != NodeKind::list) {
        return out;
    }
    for (const std::string& key : list->keys) {
        const Node* leaf = find_child(entry, key);
        if (const auto value = leaf ? value_of(*leaf) : std::nullopt) {
            const char quote = value->find('\'') == std::string_view::npos ? '\'' : '"';
            out.append("[").append(key).append("=").append(1, quote).append(*value).append(1, quote).append("]");
        }
    }
    return out;
}

std::string data_path(const Schema& schema, const std::vector<const Node*>& above, const Node& node)
{
    std::string path;
    const SchemaNode* own = nullptr;
    bool known = true;
    const auto step = [&](const Node& at) {
        own = known ? schema_of(schema, own, at) : nullptr;
        known = own != nullptr;
        path.append("/").append(tag_of(at)).append(predicates(at, own));
    };
    for (const Node* at : above) {
        step(*at);
    }
    step(node);
    return path;
}

std::vector<const Node*> outermost_entries(const Schema& schema, const Node& request)
{
    std::vector<const Node*> entries;
    collect_entries(schema, nullptr, request, entries);
    return entries;
}

} // namespace zpf
