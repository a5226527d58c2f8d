// SPDX-License-Identifier: Apache-2.0
//
// Three kinds of removal reach a native edit, told apart by the mark made when their entry was created:
//   all   a client removed something above its list: every entry that the mapping knows loses the leaves given here
//   repl  a client replaced an entry: that native entry loses the leaves given here, and only these
//   own   a client removed an entry: the native entry stands for it and goes whole
// What an edit does not name is never touched, and an entry that all or repl leave with nothing but its keys goes, too.
#include "apply.hpp"

#include <algorithm>

#include "marks.hpp"
#include "node_array.hpp"
#include "output_lists.hpp"
#include "refusal.hpp"
#include "tree_query.hpp"

namespace zpf {

namespace {

bool is_key(const SchemaNode* above, const Node& node)
{
    return above != nullptr && above->kind == NodeKind::list && above->is_key(tag_of(node));
}

/// What an edit branch asks for, keys aside: leaves, and list entries that have none.
struct Demands {
    std::size_t count = 0;
    std::size_t removals = 0;
    bool must_exist = false;

    bool only_removals() const { return count > 0 && count == removals; }

    void add(const Node& node)
    {
        ++count;
        removals += is_removal(node) ? 1U : 0U;
        must_exist = must_exist || node.edit_op == ZPF_OP_DELETE;
    }
};

void count_demands(const Node& edit, const SchemaNode* own, Demands& out)
{
    for (const Node& node : children(edit)) {
        if (is_key(own, node)) {
            continue;
        }
        const SchemaNode* const below = own ? own->find(tag_of(node)) : nullptr;
        const bool is_entry = below != nullptr && below->kind == NodeKind::list;
        if (is_entry && !is_removal(node)) {
            const std::size_t before = out.count;
            count_demands(node, below, out);
            if (out.count == before) {
                out.add(node); // by its keys alone
            }
        } else if (below != nullptr && below->kind == NodeKind::container) {
            count_demands(node, below, out);
        } else {
            out.add(node);
        }
    }
}

Node* find_entry(Node& parent, const Node& edit, const SchemaNode& list)
{
    return const_cast<Node*>(find_same_entry(parent, edit, list));
}

void remove_node(Node& parent, const Node* node)
{
    remove_child(parent, static_cast<uint32_t>(node - parent.subtrees));
}

/// Takes the leaves found in the edit out of the target; what is not there is passed over. Emptied containers go.
void remove_leaves(const Node& edit, Node& target, const SchemaNode* own)
{
    for (const Node& node : children(edit)) {
        if (is_key(own, node)) {
            continue;
        }
        const SchemaNode* const below = own ? own->find(tag_of(node)) : nullptr;
        Node* const found = const_cast<Node*>(find_counterpart(target, node, below));
        if (found == nullptr) {
            continue;
        }
        if (below == nullptr || below->kind == NodeKind::leaf || below->kind == NodeKind::leaf_list) {
            remove_node(target, found);
            continue;
        }
        remove_leaves(node, *found, below);
        if (below->kind == NodeKind::container && children(*found).empty()) {
            remove_node(target, found);
        }
    }
}

/// True when a removal in the edit takes leaves from entries that stay. Most edits have none.
bool may_thin(const Node& edit)
{
    const auto nodes = children(edit);
    return std::any_of(nodes.begin(), nodes.end(), [](const Node& node) {
        const RemovalMark mark = removal_mark(node);
        return mark == RemovalMark::all || mark == RemovalMark::repl || may_thin(node);
    });
}

} // namespace

std::optional<Refusal> Apply::run(const Node& edit)
{
    thins_ = may_thin(edit);
    if (auto refusal = apply_below(edit, data_.root(), nullptr)) {
        return refusal;
    }
    prune(data_.root(), nullptr, "");
    return std::nullopt;
}

std::optional<Refusal> Apply::apply_below(const Node& edit, Node& target, const SchemaNode* above)
{
    for (const Node& node : children(edit)) {
        if (is_key(above, node)) {
            continue;
        }
        const SchemaNode* const own = schema_of(schema_, above, node);
        std::optional<Refusal> refusal;
        if (own != nullptr && own->kind == NodeKind::list) {
            refusal = apply_entry(node, target, *own);
        } else if (own == nullptr || own->kind != NodeKind::container) {
            refusal = apply_leaf(node, target, own);
        } else {
            refusal = apply_container(node, target, *own);
        }
        if (refusal) {
            return refusal;
        }
    }
    return std::nullopt;
}

std::optional<Refusal> Apply::apply_container(const Node& edit, Node& parent, const SchemaNode& own)
{
    Node* found = find_child(parent, own.tag);
    const bool was_empty = found != nullptr && children(*found).empty();
    Node& into = found ? *found : data_.add(parent, own);
    path_.push_back(&edit);
    auto refusal = apply_below(edit, into, &own);
    path_.pop_back();
    // What removals have emptied, or have made nothing in, is no data.
    found = find_child(parent, own.tag);
    if (!was_empty && children(*found).empty()) {
        remove_node(parent, found);
    }
    return refusal;
}

std::optional<Refusal> Apply::apply_entry(const Node& edit, Node& parent, const SchemaNode& list)
{
    const RemovalMark mark = removal_mark(edit);
    if (mark == RemovalMark::all) {
        remove_from_all(edit, parent, list);
        return std::nullopt;
    }
    Node* entry = find_entry(parent, edit, list);
    if (mark == RemovalMark::repl) {
        if (entry != nullptr) {
            remove_leaves(edit, *entry, &list);
            thinned_.insert(place(*entry, list));
        }
        return std::nullopt;
    }
    if (is_removal(edit)) {
        if (entry != nullptr) {
            remove_node(parent, entry);
        } else if (edit.edit_op == ZPF_OP_DELETE) {
            return refuse("data-missing", data_path(schema_, path_, edit), "There is no such entry to delete.");
        }
        return std::nullopt;
    }
    Demands demands;
    count_demands(edit, &list, demands);
    if (entry == nullptr && demands.only_removals()) {
        if (demands.must_exist) {
            return refuse("data-missing", data_path(schema_, path_, edit), "There is nothing here to delete.");
        }
        return std::nullopt;
    }
    if (entry == nullptr) {
        entry = &data_.add(parent, list);
        for (const std::string& key : list.keys) {
            data_.add(*entry, *list.find(key), value_of(*key_leaf(edit, key)));
        }
    }
    if (thins_) {
        written_.insert(place(*entry, list));
    }
    path_.push_back(&edit);
    auto refusal = apply_below(edit, *entry, &list);
    path_.pop_back();
    return refusal;
}

std::optional<Refusal> Apply::apply_leaf(const Node& edit, Node& parent, const SchemaNode* own)
{
    const bool many = own != nullptr && own->kind == NodeKind::leaf_list;
    Node* found = nullptr;
    for (Node& node : children(parent)) {
        if (tag_of(node) == tag_of(edit) && (!many || value_of(node) == value_of(edit))) {
            found = &node;
        }
    }
    if (is_removal(edit)) {
        if (found != nullptr) {
            remove_node(parent, found);
        } else if (edit.edit_op == ZPF_OP_DELETE) {
            return refuse("data-missing", data_path(schema_, path_, edit), "There is no value here to delete.");
        }
        return std::nullopt;
    }
    if (found == nullptr) {
        data_.add(parent, tag_of(edit), ns_of(edit), value_of(edit));
    } else {
        data_.set_value(*found, value_of(edit));
    }
    return std::nullopt;
}

std::string Apply::place(const Node& entry, const SchemaNode& list) const
{
    return data_path(schema_, path_, entry) + list.ns;
}

/// An expansion names no keys. It stands for the entries that the client could have named: those that map to the
/// client's model and back to the very same native entry.
bool Apply::is_mapped_entry(const Node& entry, const SchemaNode& list)
{
    Tree seen = mapper_.view_of_keys(path_, entry, list, std::make_shared<Arena>());
    if (children(seen.root()).empty()) {
        return false;
    }
    Tree untouched = seen.clone();
    Tree native;
    Mapper forward = mapper_; // what mapper_ knows of the client's request stays as it is
    if (forward.to_low(ZPF_REQUEST_EDIT_CONFIG, seen.root(), untouched.root(), native)) {
        return false;
    }
    const Node* at = &native.root();
    for (const Node* step : path_) {
        at = at ? find_child(*at, tag_of(*step)) : nullptr;
    }
    return at != nullptr && find_same_entry(*at, entry, list) != nullptr;
}

void Apply::remove_from_all(const Node& edit, Node& parent, const SchemaNode& list)
{
    for (Node& entry : children(parent)) {
        if (tag_of(entry) == list.tag && is_mapped_entry(entry, list)) {
            remove_leaves(edit, entry, &list);
            thinned_.insert(place(entry, list));
        }
    }
}

void Apply::prune(Node& parent, const SchemaNode* above, const std::string& path)
{
    if (thinned_.empty()) {
        return;
    }
    for (uint32_t i = parent.subtree_count; i-- > 0 && !children(parent).empty();) {
        Node& node = parent.subtrees[i];
        const SchemaNode* const own = schema_of(schema_, above, node);
        if (own == nullptr || (own->kind != NodeKind::list && own->kind != NodeKind::container)) {
            continue;
        }
        const std::string here = path + "/" + std::string(tag_of(node)) + predicates(node, own);
        const bool was_empty = children(node).empty();
        prune(node, own, here);
        if (own->kind == NodeKind::container) {
            if (!was_empty && children(node).empty()) {
                remove_child(parent, i);
            }
            continue;
        }
        const auto left = children(node);
        const bool keys_only =
            std::all_of(left.begin(), left.end(), [&](const Node& leaf) { return is_key(own, leaf); });
        const std::string name = here + own->ns;
        if (keys_only && thinned_.contains(name) && !written_.contains(name)) {
            remove_child(parent, i);
        }
    }
}

} // namespace zpf
