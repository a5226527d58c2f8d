// SPDX-License-Identifier: Apache-2.0
//
// Records and libyang data.
#include "records.hpp"

#include <algorithm>
#include <array>
#include <charconv>

#include <fmt/format.h>

namespace zpf::agent {

namespace {

/// Keys of a list entry are its first children.
void append_step(std::string& name, const lyd_node& node)
{
    const lysc_node& schema = *node.schema;
    if (schema.parent == nullptr || schema.module != schema.parent->module) {
        name.append(schema.module->name).append(":");
    }
    name.append(schema.name);
    if (schema.nodetype == LYS_LEAFLIST) {
        name.append("=");
        append_encoded(name, lyd_get_value(&node));
    } else if (schema.nodetype == LYS_LIST) {
        char separator = '=';
        for (const lyd_node* key = lyd_child(&node); key != nullptr && is_key(*key->schema); key = key->next) {
            name.push_back(separator);
            append_encoded(name, lyd_get_value(key));
            separator = ',';
        }
    }
}

bool users_order(const lysc_node& schema)
{
    return (schema.nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0 && (schema.flags & LYS_ORDBY_USER) != 0;
}

/// Place of an entry among those of its list: the record's value where users order it.
std::string place_of(const lyd_node& node)
{
    if (!users_order(*node.schema)) {
        return {};
    }
    std::size_t place = 0;
    for (const lyd_node* before = node.prev; before->next != nullptr && before->schema == node.schema;
         before = before->prev) {
        ++place;
    }
    return std::to_string(place);
}

void add_node(const lyd_node& node, std::string& name, Records& records)
{
    if (node.schema == nullptr || (node.flags & LYD_DEFAULT) != 0) {
        return;
    }
    const std::size_t length = name.size();
    if (name.back() != '/') {
        name.push_back('/');
    }
    append_step(name, node);
    switch (node.schema->nodetype) {
    case LYS_LEAF:
        records[name] = lyd_get_value(&node);
        break;
    case LYS_LEAFLIST:
    case LYS_LIST:
        records[name] = place_of(node);
        break;
    case LYS_CONTAINER:
        if ((node.schema->flags & LYS_PRESENCE) != 0) {
            records[name];
        }
        break;
    default:
        break;
    }
    for (const lyd_node* child = lyd_child_no_keys(&node); child != nullptr; child = child->next) {
        add_node(*child, name, records);
    }
    name.resize(length);
}

} // namespace

std::string record_name(const lysc_node& top)
{
    return fmt::format("{}{}:{}", kConfigBranch, top.module->name, top.name);
}

std::string record_name(const lyd_node& node)
{
    std::string name = node.parent ? record_name(*lyd_parent(&node)) + "/" : std::string{kConfigBranch};
    append_step(name, node);
    return name;
}

void add_records(const lyd_node* first, Records& records)
{
    std::string name{kConfigBranch};
    for (const lyd_node* node = first; node != nullptr; node = node->next) {
        add_node(*node, name, records);
    }
}

bridge::DataPtr new_entry(const lysc_node& list, const std::vector<std::string>& keys, lyd_node* parent)
{
    std::array<const char*, 8> values{};
    std::size_t count = 0;
    for (const lysc_node* key = lysc_node_child(&list); key != nullptr && is_key(*key); key = key->next) {
        ++count;
    }
    if (count > values.size() || count != keys.size()) {
        return nullptr;
    }
    std::transform(keys.begin(), keys.end(), values.begin(), [](const std::string& key) { return key.c_str(); });
    lyd_node* made = nullptr;
    lyd_new_list(parent, list.module, list.name, 0, &made, values[0], values[1], values[2], values[3], values[4],
                 values[5], values[6], values[7]);
    if (made != nullptr && parent != nullptr) {
        lyd_unlink_tree(made);
    }
    return bridge::DataPtr{made};
}

void TreeBuilder::load(const kelda::Reader& reader, std::string_view name)
{
    reader.scan(name, [&](std::string_view key, std::string_view value) {
        if (is_at_or_below(key, name)) {
            add(key, value);
        }
        return true;
    });
}

void TreeBuilder::add(std::string_view name, std::string_view value)
{
    std::string_view rest = name.substr(std::min(name.size(), kConfigBranch.size()));
    std::size_t level = 0;
    lyd_node* node = nullptr;
    while (!rest.empty()) {
        const std::size_t slash = rest.find('/');
        const std::string_view step = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view{} : rest.substr(slash + 1);
        if (level < open_.size() && open_[level].step == step) {
            node = open_[level++].node;
            continue;
        }
        open_.resize(level);
        node = descend(node, parse_step(step), value, rest.empty());
        if (node == nullptr) {
            problems_.emplace_back(name);
            return;
        }
        open_.push_back({std::string{step}, node});
        ++level;
    }
}

/// The child that the step names, made if it is not there; null when the models have none.
lyd_node* TreeBuilder::descend(lyd_node* parent, const PathStep& step, std::string_view value, bool last)
{
    const lys_module* const module = !step.module.empty() ? yang_.module(step.module)
                                     : parent             ? parent->schema->module
                                                          : nullptr;
    if (module == nullptr) {
        return nullptr;
    }
    const lysc_node* const schema =
        parent ? Yang::child(*parent->schema, step.name, module) : Yang::top(*module, step.name);
    if (schema == nullptr) {
        return nullptr;
    }
    const lyd_node* const siblings = parent ? lyd_child(parent) : tree_.get();
    lyd_node* found = nullptr;
    // What was added before is met again when names overlap.
    if (siblings != nullptr && (schema->nodetype & (LYS_CONTAINER | LYS_LEAF)) != 0) {
        lyd_find_sibling_val(siblings, schema, nullptr, 0, &found);
    } else if (siblings != nullptr && schema->nodetype == LYS_LEAFLIST && step.keys.size() == 1) {
        lyd_find_sibling_val(siblings, schema, step.keys.front().c_str(), step.keys.front().size(), &found);
    }
    if (found == nullptr) {
        found = make(parent, *schema, step, value);
    }
    if (found != nullptr && last && users_order(*schema)) {
        unsigned long place = 0;
        std::from_chars(value.data(), value.data() + value.size(), place);
        places_[found] = place;
    }
    return found;
}

lyd_node* TreeBuilder::make(lyd_node* parent, const lysc_node& schema, const PathStep& step, std::string_view value)
{
    if (schema.nodetype == LYS_LIST) {
        return make_entry(parent, schema, step);
    }
    lyd_node* made = nullptr;
    if (schema.nodetype == LYS_CONTAINER) {
        lyd_new_inner(parent, schema.module, schema.name, 0, &made);
    } else if (schema.nodetype == LYS_LEAFLIST && step.keys.size() == 1) {
        lyd_new_term(parent, schema.module, schema.name, step.keys.front().c_str(), 0, &made);
    } else if (schema.nodetype == LYS_LEAF) {
        lyd_new_term(parent, schema.module, schema.name, std::string{value}.c_str(), 0, &made);
    }
    if (made != nullptr && parent == nullptr) {
        adopt_top(made);
    }
    return made;
}

/// The list's entry with these keys; it is met again when records of a sibling stand between its own.
lyd_node* TreeBuilder::make_entry(lyd_node* parent, const lysc_node& schema, const PathStep& step)
{
    bridge::DataPtr fresh = new_entry(schema, step.keys, parent);
    if (!fresh) {
        return nullptr;
    }
    lyd_node* found = nullptr;
    const lyd_node* const siblings = parent ? lyd_child(parent) : tree_.get();
    if (siblings != nullptr && lyd_find_sibling_first(siblings, fresh.get(), &found) == LY_SUCCESS) {
        return found;
    }
    lyd_node* const made = fresh.release();
    if (parent != nullptr) {
        lyd_insert_child(parent, made);
    } else {
        adopt_top(made);
    }
    return made;
}

void TreeBuilder::adopt_top(lyd_node* node)
{
    lyd_node* first = tree_.release();
    lyd_insert_sibling(first, node, &first);
    tree_.reset(first);
}

bridge::DataPtr TreeBuilder::take()
{
    open_.clear();
    // Each goes behind all that are before it; names sort otherwise.
    std::vector<std::pair<unsigned long, lyd_node*>> order;
    for (const auto& [node, place] : places_) {
        order.emplace_back(place, const_cast<lyd_node*>(node));
    }
    std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [place, node] : order) {
        lyd_node* last = node;
        for (lyd_node* next = node->next; next != nullptr && next->schema == node->schema; next = next->next) {
            last = next;
        }
        if (last != node) {
            lyd_insert_after(last, node);
        }
    }
    places_.clear();
    return std::move(tree_);
}

} // namespace zpf::agent
