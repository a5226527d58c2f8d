// SPDX-License-Identifier: Apache-2.0
//
// Subtree filters, XPath, depth.
#include "subtree_filter.hpp"

#include <functional>

#include <fmt/format.h>

#include "record_path.hpp"
#include "records.hpp"
#include "rpc_error.hpp"
#include "xpath_effort.hpp"
#include "xpath_text.hpp"

namespace zpf::agent {

namespace {

bool is_content_match(Element filter)
{
    return !filter.has_children() && !filter.text().empty();
}

bool names(Element filter, const lyd_node& node)
{
    return filter.name() == node.schema->name && (filter.ns().empty() || filter.ns() == node.schema->module->ns);
}

bool content_matches(Element match, const lyd_node& parent)
{
    for (const lyd_node* child = lyd_child(&parent); child != nullptr; child = child->next) {
        if (child->schema != nullptr && names(match, *child) && lyd_get_value(child) != nullptr &&
            match.text() == lyd_get_value(child)) {
            return true;
        }
    }
    return false;
}

bool all_content_matches(Element filter, const lyd_node& node)
{
    for (const Element child : filter.children()) {
        if (is_content_match(child) && (asks_for_attributes(child) || !content_matches(child, node))) {
            return false;
        }
    }
    return true;
}

bool mark(Element filter, const lyd_node& node, Selection& marks);

/// Marks what the filter's elements select among the children. @return true when anything is
bool mark_children(Element filter, const lyd_node& node, Selection& marks)
{
    bool any = false;
    for (const Element part : filter.children()) {
        for (const lyd_node* child = lyd_child(&node); child != nullptr; child = child->next) {
            any = (child->schema != nullptr && names(part, *child) && mark(part, *child, marks)) || any;
        }
    }
    return any;
}

bool mark(Element filter, const lyd_node& node, Selection& marks)
{
    if (asks_for_attributes(filter)) {
        return false;
    }
    const bool inner = (node.schema->nodetype & LYD_NODE_INNER) != 0;
    if (!filter.has_children()) {
        const bool selected = filter.text().empty() || (!inner && filter.text() == lyd_get_value(&node));
        if (selected) {
            marks.whole.insert(&node);
        }
        return selected;
    }
    if (!inner || !all_content_matches(filter, node)) {
        return false;
    }
    bool matches_only = true;
    for (const Element part : filter.children()) {
        matches_only = matches_only && is_content_match(part);
    }
    if (matches_only) {
        marks.whole.insert(&node);
        return true;
    }
    const bool any = mark_children(filter, node, marks);
    if (any) {
        marks.partly.insert(&node);
    }
    return any;
}

void sweep(lyd_node* first, const Selection& marks, bridge::DataPtr* top)
{
    lyd_node* next = nullptr;
    for (lyd_node* node = first; node != nullptr; node = next) {
        next = node->next;
        if (marks.whole.count(node) != 0) {
            continue;
        }
        if (marks.partly.count(node) != 0) {
            sweep(lyd_child(node), marks, nullptr);
        } else if (node->schema == nullptr || !is_key(*node->schema)) {
            if (top != nullptr && top->get() == node) {
                static_cast<void>(top->release());
                top->reset(next);
                lyd_unlink_tree(node);
            }
            lyd_free_tree(node);
        }
    }
}

struct FreeNodeSet {
    void operator()(ly_set* set) const { ly_set_free(set, nullptr); }
};
using NodeSet = std::unique_ptr<ly_set, FreeNodeSet>;

/// Null when the expression cannot be evaluated; libyang has the complaint.
NodeSet find(const std::string& xpath, const lyd_node& data)
{
    ly_set* set = nullptr;
    return lyd_find_xpath3(nullptr, &data, xpath.c_str(), nullptr, &set) == LY_SUCCESS ? NodeSet{set} : nullptr;
}

double count_of(const lyd_node* first)
{
    double count = 0;
    for (const lyd_node* node = first; node != nullptr; node = node->next) {
        count += 1 + count_of(lyd_child(node));
    }
    return count;
}

/// An evaluation cannot be stopped, not even when its session is gone, so none is begun that would hold its thread for
/// more than some seconds. Throws Refused.
void require_quick(const std::string& xpath, const lyd_node& data)
{
    constexpr double kMostNodes = 1e8;
    const double nodes = effort_of(xpath, count_of(&data));
    if (nodes > kMostNodes) {
        throw refused_protocol("resource-denied",
                               fmt::format("The XPath expression would look at about {:.0e} nodes, one after the other "
                                           "and again; at most {:.0e} are permitted: take searches out of conditions.",
                                           nodes, kMostNodes),
                               "filter");
    }
}

/// What the expression selects. Throws Refused.
NodeSet selected(const Yang& yang, const std::string& xpath, const lyd_node& data)
{
    require_quick(xpath, data);
    if (NodeSet set = find(xpath, data)) {
        return set;
    }
    const std::string reason = bridge::last_complaint(yang.ctx()).reason;
    // Where there is no node to test a predicate on, libyang 2.1 goes over it all the same and makes the node set a
    // boolean at an "and" or "or" in it. What follows then fails, though it would do on other data. Arithmetic does not
    // have this slip.
    if (const std::string reckoned = with_reckoned_conditions(xpath); reckoned != xpath) {
        if (NodeSet set = find(reckoned, data)) {
            return set;
        }
    }
    RpcError error = refused("invalid-value", "The XPath expression: " + reason, "", "filter").errors().front();
    error.type = "protocol";
    throw Refused(std::move(error));
}

} // namespace

bool asks_for_attributes(Element filter)
{
    for (const lyd_attr* attribute = filter.attributes(); attribute != nullptr; attribute = attribute->next) {
        if (attribute->name.module_ns == nullptr || attribute->name.module_ns != std::string_view{kBaseNamespace}) {
            return true;
        }
    }
    return false;
}

Selection keep_subtrees(const Yang&, Element filter, bridge::DataPtr& data)
{
    Selection marks;
    for (const Element top : filter.children()) {
        for (const lyd_node* node = data.get(); node != nullptr; node = node->next) {
            if (node->schema != nullptr && names(top, *node)) {
                mark(top, *node, marks);
            }
        }
    }
    sweep(data.get(), marks, &data);
    return marks;
}

Selection keep_selected(const Yang& yang, const std::string& xpath, bridge::DataPtr& data)
{
    Selection marks;
    if (!data) {
        return marks;
    }
    const NodeSet set = selected(yang, xpath, *data);
    for (uint32_t i = 0; i < set->count; ++i) {
        const lyd_node* node = set->dnodes[i];
        marks.whole.insert(node);
        for (const lyd_node* above = lyd_parent(node); above != nullptr; above = lyd_parent(above)) {
            marks.partly.insert(above);
        }
    }
    sweep(data.get(), marks, &data);
    return marks;
}

void keep_levels(unsigned levels, const Selection& selection, bridge::DataPtr& data)
{
    const auto is_selected = [&](const lyd_node* node) { return selection.whole.count(node) != 0; };
    const auto leads_on = [&](const lyd_node* node) { return selection.partly.count(node) != 0; };
    // `left`: levels that may still be shown below the node.
    const std::function<void(lyd_node*, unsigned)> cut = [&](lyd_node* node, unsigned left) {
        const auto flags = node->flags; // a container that loses its last child counts as not set, and is not printed
        lyd_node* next = nullptr;
        for (lyd_node* child = lyd_child_no_keys(node); child != nullptr; child = next) {
            next = child->next;
            if (is_selected(child)) { // of several selected above one another, the lowest shows most
                cut(child, levels - 1);
            } else if (left > 0) {
                cut(child, left - 1);
            } else if (leads_on(child)) {
                cut(child, 0);
            } else {
                lyd_free_tree(child);
            }
        }
        node->flags = flags;
    };
    for (lyd_node* top = data.get(); top != nullptr; top = top->next) {
        cut(top, leads_on(top) && !is_selected(top) ? 0 : levels - 1);
    }
}

void keep_config(bool config, bridge::DataPtr& data)
{
    Selection marks;
    const std::function<bool(const lyd_node&)> look = [&](const lyd_node& node) {
        bool any = false;
        for (const lyd_node* child = lyd_child_no_keys(&node); child != nullptr; child = child->next) {
            any = look(*child) || any;
        }
        const bool own = ((node.schema->flags & LYS_CONFIG_W) != 0) == config;
        const bool leaf = (node.schema->nodetype & LYD_NODE_INNER) == 0;
        const bool counts = leaf ? own : own && config; // a container of configuration may hold state alone
        if (any || counts) {
            marks.partly.insert(&node);
        }
        return any || counts;
    };
    for (const lyd_node* top = data.get(); top != nullptr; top = top->next) {
        look(*top);
    }
    sweep(data.get(), marks, &data);
}

void add_record_names(Element element, const lysc_node& schema, const std::string& name,
                      std::vector<std::string>& names)
{
    std::string own = name;
    if (schema.nodetype == LYS_LIST) {
        char separator = '=';
        for (const lysc_node* key = lysc_node_child(&schema); key != nullptr && is_key(*key); key = key->next) {
            const Element leaf = element.child(key->name, key->module->ns);
            if (!leaf || leaf.text().empty()) {
                names.push_back(name + "="); // all entries: any of them may match
                return;
            }
            own.push_back(separator);
            append_encoded(own, leaf.text());
            separator = ',';
        }
    } else if (schema.nodetype == LYS_LEAFLIST) {
        names.push_back(name + "=");
        return;
    }
    bool matches_only = true;
    for (const Element child : element.children()) {
        matches_only = matches_only && is_content_match(child);
    }
    if (matches_only) { // selected whole, or with conditions that need to see all of it
        names.push_back(own);
        return;
    }
    for (const Element child : element.children()) {
        const lys_module* module = child.ns().empty() ? nullptr : schema.module;
        const lysc_node* below = nullptr;
        if (module != nullptr && child.ns() != module->ns) {
            module = ly_ctx_get_module_implemented_ns(schema.module->ctx, std::string{child.ns()}.c_str());
            below = module ? Yang::child(schema, child.name(), module) : nullptr;
        } else {
            below = Yang::child(schema, child.name(), module);
        }
        if (below == nullptr || (below->flags & LYS_CONFIG_R) != 0) {
            continue;
        }
        if (is_key(*below)) {
            names.push_back(own); // the entry itself is what a selected key shows
            continue;
        }
        const std::string step = below->module == schema.module
                                     ? std::string{below->name}
                                     : fmt::format("{}:{}", below->module->name, below->name);
        add_record_names(child, *below, fmt::format("{}/{}", own, step), names);
    }
}

} // namespace zpf::agent
