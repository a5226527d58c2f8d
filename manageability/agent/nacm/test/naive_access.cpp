// SPDX-License-Identifier: Apache-2.0
//
// Access control written down once more, slowly.
#include "naive_access.hpp"

#include <algorithm>
#include <memory>
#include <set>
#include <string_view>

#include "nacm_testing.hpp"

namespace zpf::agent::testing {

namespace {

std::vector<NaiveStep> steps_of(const lyd_node& node)
{
    std::vector<NaiveStep> steps;
    for (const lyd_node* at = &node; at != nullptr; at = lyd_parent(at)) {
        NaiveStep step{std::string(at->schema->module->name) + ":" + at->schema->name, {}};
        for (const lyd_node* child = lyd_child(at); child != nullptr; child = child->next) {
            if (lysc_is_key(child->schema)) {
                step.keys[child->schema->name] = lyd_get_value(child);
            }
        }
        if (at->schema->nodetype == LYS_LEAFLIST) {
            step.keys["."] = lyd_get_value(at);
        }
        steps.insert(steps.begin(), step);
    }
    return steps;
}

bool covers(const std::vector<NaiveStep>& rule, const std::vector<NaiveStep>& node)
{
    if (rule.size() > node.size()) {
        return false;
    }
    for (std::size_t i = 0; i < rule.size(); ++i) {
        const bool keys = std::all_of(rule[i].keys.begin(), rule[i].keys.end(), [&](const auto& key) {
            return node[i].keys.contains(key.first) && node[i].keys.at(key.first) == key.second;
        });
        if (rule[i].node != node[i].node || !keys) {
            return false;
        }
    }
    return true;
}

bool marked(const lyd_node& node, bool for_writing)
{
    for (const lyd_node* at = &node; at != nullptr; at = lyd_parent(at)) {
        const std::string name = at->schema->name;
        if (name == "safe" || (for_writing && name == "door")) { // the two marks in the model of the tests
            return true;
        }
    }
    return false;
}

std::string path_of(const lyd_node& node)
{
    char* raw = lyd_path(&node, LYD_PATH_STD, nullptr, 0);
    std::string path = raw;
    free(raw);
    return path;
}

/// All nodes that mean something by themselves, by path.
std::map<std::string, const lyd_node*> nodes_of(const lyd_node* tree)
{
    std::map<std::string, const lyd_node*> nodes;
    for (const lyd_node* node = tree; node != nullptr; node = node->next) {
        if (node->schema->nodetype != LYS_CONTAINER || (node->schema->flags & LYS_PRESENCE) != 0) {
            nodes[path_of(*node)] = node;
        }
        nodes.merge(nodes_of(lyd_child(node)));
    }
    return nodes;
}

/// Entries of the two user-ordered lists of the model of the tests.
std::vector<const lyd_node*> ordered(const lyd_node* tree, std::string_view list)
{
    std::vector<const lyd_node*> entries;
    for (const lyd_node* node = tree == nullptr ? nullptr : lyd_child(tree); node != nullptr; node = node->next) {
        if (list == node->schema->name) {
            entries.push_back(node);
        }
    }
    return entries;
}

bool same_value(const lyd_node& one, const lyd_node& other)
{
    return std::string_view(one.schema->nodetype == LYS_LEAF ? lyd_get_value(&one) : "") ==
           (other.schema->nodetype == LYS_LEAF ? lyd_get_value(&other) : "");
}

} // namespace

bool NaiveAccess::permits(const lyd_node& node, const std::string& access) const
{
    const std::vector<NaiveStep> steps = steps_of(node);
    for (const NaiveRule& rule : rules) {
        const bool of_module = rule.module == "*" || rule.module == node.schema->module->name;
        const bool of_access = rule.accesses == "*" || rule.accesses.find(access) != std::string::npos;
        if (of_module && of_access && (!rule.has_path || covers(rule.path, steps))) {
            return rule.permit;
        }
    }
    return !marked(node, access != "read") && (access == "read" ? read_default : write_default);
}

bool NaiveAccess::readable(const lyd_node& node) const
{
    for (const lyd_node* at = &node; at != nullptr; at = lyd_parent(at)) {
        if (!permits(*at, "read")) {
            return false;
        }
        for (const lyd_node* child = lyd_child(at); child != nullptr; child = child->next) {
            if (lysc_is_key(child->schema) && !permits(*child, "read")) {
                return false;
            }
        }
    }
    return true;
}

std::vector<std::string> NaiveAccess::visible(const lyd_node* tree) const
{
    std::vector<std::string> lines;
    for (const lyd_node* node = tree; node != nullptr; node = node->next) {
        if (!readable(*node)) {
            continue;
        }
        const std::vector<std::string> below = visible(lyd_child(node));
        bool holds_something = !below.empty();
        if (node->schema->nodetype == LYS_LEAF) {
            lines.push_back(path_of(*node) + " = " + lyd_get_value(node));
        } else if (!holds_something) {
            lines.push_back(path_of(*node));
        }
        lines.insert(lines.end(), below.begin(), below.end());
    }
    return lines;
}

bool NaiveAccess::may_write(const lyd_node* before, const lyd_node* after) const
{
    const auto old_nodes = nodes_of(before);
    const auto new_nodes = nodes_of(after);
    for (const auto& [path, node] : old_nodes) {
        const auto found = new_nodes.find(path);
        if (found == new_nodes.end() ? !permits(*node, "delete")
                                     : !same_value(*node, *found->second) && !permits(*node, "update")) {
            return false;
        }
    }
    for (const auto& [path, node] : new_nodes) {
        if (!old_nodes.contains(path) && !permits(*node, "create")) {
            return false;
        }
    }
    for (const char* list : {"queue", "tag"}) {
        std::vector<const lyd_node*> kept;
        for (const lyd_node* entry : ordered(before, list)) {
            if (new_nodes.contains(path_of(*entry))) {
                kept.push_back(entry);
            }
        }
        std::vector<std::string> goal;
        for (const lyd_node* entry : ordered(after, list)) {
            if (old_nodes.contains(path_of(*entry))) {
                goal.push_back(path_of(*entry));
            }
        }
        if (!may_reorder(kept, goal)) {
            return false;
        }
    }
    return true;
}

/// Tries out all sequences of moves of single entries that the user may update.
bool NaiveAccess::may_reorder(const std::vector<const lyd_node*>& before, const std::vector<std::string>& after) const
{
    std::vector<std::string> start;
    std::set<std::string> movable;
    for (const lyd_node* entry : before) {
        start.push_back(path_of(*entry));
        if (permits(*entry, "update")) {
            movable.insert(start.back());
        }
    }
    std::set<std::vector<std::string>> reached{start};
    std::vector<std::vector<std::string>> open{start};
    while (!open.empty()) {
        const std::vector<std::string> from = open.back();
        open.pop_back();
        for (const std::string& moved : movable) {
            for (std::size_t to = 0; to < from.size(); ++to) {
                std::vector<std::string> next = from;
                next.erase(std::find(next.begin(), next.end(), moved));
                next.insert(next.begin() + static_cast<std::ptrdiff_t>(to), moved);
                if (reached.insert(next).second) {
                    open.push_back(next);
                }
            }
        }
    }
    return reached.contains(after);
}

std::string NaiveAccess::as_xml() const
{
    std::vector<std::string> texts;
    for (const NaiveRule& rule : rules) {
        std::string rest = "<module-name>" + rule.module + "</module-name>";
        std::string path;
        for (const NaiveStep& step : rule.path) {
            const std::string prefix = step.node.starts_with("annex:") ? "a:" : "h:";
            path += "/" + prefix + step.node.substr(step.node.find(':') + 1);
            for (const auto& [key, value] : step.keys) {
                path += "[" + (key == "." ? key : prefix + key) + "='" + value + "']";
            }
        }
        if (rule.has_path) {
            rest += "<path>" + (path.empty() ? "/" : path) + "</path>";
        }
        texts.push_back(testing::rule(rule.permit ? "permit" : "deny", rule.accesses, rest));
    }
    return std::string("<read-default>") + (read_default ? "permit" : "deny") + "</read-default><write-default>" +
           (write_default ? "permit" : "deny") + "</write-default>" + group("staff", "ann") + rules_for("staff", texts);
}

} // namespace zpf::agent::testing
