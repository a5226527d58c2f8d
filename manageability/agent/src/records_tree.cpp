// SPDX-License-Identifier: Apache-2.0
//
// Records and the framework's trees.
#include "readings.hpp"
#include "records.hpp"

#include <algorithm>

namespace zpf::agent {

namespace {

void add_node(const SchemaNode& own, const Node& node, std::string& name, Records& records)
{
    const std::size_t length = name.size();
    if (name.back() != '/') {
        name.push_back('/');
    }
    if (own.parent == nullptr || own.parent->tag.empty() || own.parent->module != own.module) {
        name.append(own.module).append(":");
    }
    name.append(own.tag);
    if (own.kind == NodeKind::list) {
        char separator = '=';
        for (const std::string& key : own.keys) {
            const Node* const leaf = find_child(node, key);
            name.push_back(separator);
            append_encoded(name, leaf ? value_of(*leaf).value_or("") : "");
            separator = ',';
        }
        records[name];
    } else if (own.kind == NodeKind::leaf) {
        records[name] = value_of(node).value_or("");
    } else if (own.kind == NodeKind::leaf_list) {
        name.push_back('=');
        append_encoded(name, value_of(node).value_or(""));
        records[name];
    }
    for (const Node& child : children(node)) {
        const SchemaNode* const below = own.find(tag_of(child));
        if (below != nullptr && !own.is_key(below->tag)) {
            add_node(*below, child, name, records);
        }
    }
    name.resize(length);
}

/// The child that a step names, made if it is not there. Siblings are few: one entry's.
Node& descend(Tree& tree, Node& parent, const SchemaNode& own, const PathStep& step)
{
    for (Node& child : children(parent)) {
        if (!has_tag(child, own.tag)) {
            continue;
        }
        const bool same = std::equal(step.keys.begin(), step.keys.end(), own.keys.begin(), own.keys.end(),
                                     [&](const std::string& value, const std::string& key) {
                                         const Node* const leaf = find_child(child, key);
                                         return leaf != nullptr && value_of(*leaf) == value;
                                     });
        if (own.kind == NodeKind::container || own.kind == NodeKind::leaf || (own.kind == NodeKind::list && same)) {
            return child;
        }
    }
    Node& made = tree.add(parent, own);
    for (std::size_t i = 0; own.kind == NodeKind::list && i < std::min(own.keys.size(), step.keys.size()); ++i) {
        tree.add(made, *own.find(own.keys[i]), step.keys[i]);
    }
    return made;
}

const SchemaNode* find_top(const Schema& schema, const PathStep& step)
{
    const SchemaNode* const top = schema.find_top(step.name);
    return top != nullptr && top->module == step.module ? top : nullptr;
}

/// Adds a record of the configuration; names that the models do not know are left out.
void add_record(const Schema& schema, std::string_view name, std::string_view value, Tree& out)
{
    std::string_view rest = name.substr(kConfigBranch.size());
    Node* node = &out.root();
    const SchemaNode* own = nullptr;
    while (!rest.empty()) {
        const std::size_t slash = rest.find('/');
        const PathStep step = parse_step(rest.substr(0, slash));
        rest = slash == std::string_view::npos ? std::string_view{} : rest.substr(slash + 1);
        own = own == nullptr ? find_top(schema, step) : own->find(step.name);
        if (own == nullptr) {
            return;
        }
        node = &descend(out, *node, *own, step);
    }
    if (own != nullptr && own->kind == NodeKind::leaf) {
        out.set_value(*node, value);
    } else if (own != nullptr && own->kind == NodeKind::leaf_list) {
        out.set_value(*node, decoded(name.substr(name.rfind('=') + 1)));
    }
}

} // namespace

void add_records(const Schema& schema, const Node& root, Records& records)
{
    std::string name{kConfigBranch};
    for (const Node& top : children(root)) {
        const SchemaNode* const own = schema.find_top(tag_of(top));
        if (own != nullptr && own->config) {
            add_node(*own, top, name, records);
        }
    }
}

void StoreSource::select(const Node& selection, Tree& out) const
{
    Names done;
    for (const Node& top : children(selection)) {
        const SchemaNode* const own = yang_.schema().find_top(tag_of(top));
        if (own == nullptr) {
            continue;
        }
        if (own->config) {
            std::string name{kConfigBranch};
            name.append(own->module).append(":").append(own->tag);
            select_config(top, *own, name, out, done);
        } else if (operational_ != nullptr) {
            select_readings(yang_, *operational_, top, *own, out);
        }
    }
}

void StoreSource::select_config(const Node& selection, const SchemaNode& own, std::string& name, Tree& out,
                                Names& done) const
{
    if (own.kind == NodeKind::list) {
        select_entries(selection, own, name, out, done);
        return;
    }
    if (children(selection).empty()) {
        add_all(name, true, out, done);
        return;
    }
    for (const Node& child : children(selection)) {
        const SchemaNode* const below = own.find(tag_of(child));
        if (below == nullptr) {
            continue;
        }
        const std::size_t length = name.size();
        name.push_back('/');
        if (below->module != own.module) {
            name.append(below->module).append(":");
        }
        name.append(below->tag);
        select_config(child, *below, name, out, done);
        name.resize(length);
    }
}

/// An entry with all keys is one place in the store; with the first ones, the places that begin so.
void StoreSource::select_entries(const Node& selection, const SchemaNode& own, std::string& name, Tree& out,
                                 Names& done) const
{
    const auto has_key = [&](const std::string& key) {
        const Node* const leaf = find_child(selection, key);
        return leaf != nullptr && value_of(*leaf).has_value();
    };
    if (std::none_of(own.keys.begin(), own.keys.end(), has_key)) {
        return; // without any key it names none
    }
    const std::size_t length = name.size();
    char separator = '=';
    std::size_t known = 0;
    for (; known < own.keys.size() && has_key(own.keys[known]); ++known) {
        name.push_back(separator);
        append_encoded(name, *value_of(*find_child(selection, own.keys[known])));
        separator = ',';
    }
    const bool all = known == own.keys.size();
    if (!all) {
        name.push_back(separator);
    }
    add_all(name, all, out, done);
    name.resize(length);
}

/// Adds the records below a name, or those whose names begin so, unless they were added before.
void StoreSource::add_all(std::string_view prefix, bool whole_names, Tree& out, Names& done) const
{
    if (!done.emplace(prefix).second) {
        return;
    }
    config_.scan(prefix, [&](std::string_view key, std::string_view value) {
        if (!whole_names || is_at_or_below(key, prefix)) {
            add_record(yang_.schema(), key, value, out);
        }
        return true;
    });
}

} // namespace zpf::agent
