// SPDX-License-Identifier: Apache-2.0
//
// One walk over a document, element by element, with the model's node beside it.
#include "reader.hpp"

#include "operation_words.hpp"
#include "zpf_bridge/leaf_value.hpp"

namespace zpf::bridge {

namespace {

bool is_leaf(const SchemaNode& node)
{
    return node.kind == NodeKind::leaf || node.kind == NodeKind::leaf_list;
}

/// The child of a model's node that the element is, or null.
const SchemaNode* find_own(const SchemaNode& parent, const lyd_node& element)
{
    const SchemaNode* const own = parent.find(name_of(element));
    return own != nullptr && is_of(element, own->module.c_str(), own->ns.c_str()) ? own : nullptr;
}

} // namespace

void Reader::read_top(const lyd_node& node)
{
    for (const auto& top : schema_.tops()) {
        const bool stated = purpose_ == Purpose::filter || place_of(node).has_value();
        if (stated && top->tag == name_of(node) && is_of(node, top->module.c_str(), top->ns.c_str())) {
            check_alone(node, *top, tops_);
            read(node, tree_.root(), *top, *find_compiled(nullptr, *top));
            return;
        }
    }
    const auto place = place_of(node);
    const std::string shown = place ? "\"" + std::string(*place) + "\"" : "none at all";
    document_.fail(node, "no model that is loaded has this element; its module or namespace is " + shown);
}

void Reader::read(const lyd_node& node, Node& parent, const SchemaNode& own, const lysc_node& compiled)
{
    check_shape(node, own);
    Node& made = tree_.add(parent, own, value(node, own, compiled), operation(node));
    if (purpose_ == Purpose::native && own.kind == NodeKind::list) {
        read_children(node, made, own, compiled, true);
        if (children(made).size() < own.keys.size()) {
            document_.fail(node, "has not all of its keys: " + identity(node, own));
        }
    }
    read_children(node, made, own, compiled, false);
}

/// With `keys`, the keys of a list entry in the model's order; without, all children or, in native data, the others.
void Reader::read_children(const lyd_node& node, Node& made, const SchemaNode& own, const lysc_node& compiled,
                           bool keys)
{
    Siblings siblings;
    const auto read_one = [&](const lyd_node& child, const SchemaNode& below) {
        check_alone(child, below, siblings);
        read(child, made, below, *find_compiled(&compiled, below));
    };
    for (std::size_t i = 0; keys && i < own.keys.size(); ++i) {
        for (const lyd_node* child = lyd_child(&node); child != nullptr; child = child->next) {
            const SchemaNode* const below = find_own(own, *child);
            if (below != nullptr && below->tag == own.keys[i]) {
                read_one(*child, *below);
            }
        }
    }
    for (const lyd_node* child = keys ? nullptr : lyd_child(&node); child != nullptr; child = child->next) {
        const SchemaNode* const below = find_own(own, *child);
        if (below == nullptr) {
            read_unknown(*child, made);
        } else if (purpose_ != Purpose::native || !own.is_key(below->tag)) {
            read_one(*child, *below);
        }
    }
}

/// A filter may ask for what no model has, and gets nothing; other data may not hold it.
void Reader::read_unknown(const lyd_node& node, Node& parent)
{
    if (purpose_ != Purpose::filter) {
        document_.fail(node, "the model has no such element here");
    }
    std::string ns(place_of(node).value_or(""));
    if (const lys_module* module = ly_ctx_get_module_implemented(&ctx_, ns.c_str())) {
        ns = module->ns; // JSON says the module's name
    }
    Node& made = tree_.add(parent, name_of(node), ns, text_of(node), operation(node));
    for (const lyd_node* child = lyd_child(&node); child != nullptr; child = child->next) {
        read_unknown(*child, made);
    }
}

void Reader::check_shape(const lyd_node& node, const SchemaNode& own) const
{
    if (is_leaf(own) && lyd_child(&node) != nullptr) {
        document_.fail(node, "a leaf with elements in it");
    }
    if (!is_leaf(own) && text_of(node)) {
        document_.fail(node, "text where elements are expected: \"" + *text_of(node) + "\"");
    }
    if (document_.syntax() == Syntax::json && !is_leaf(own) && is_array_item(node) != (own.kind == NodeKind::list)) {
        document_.fail(node, own.kind == NodeKind::list ? "a list is written as an array of objects"
                                                        : "a container is written as an object, not as an array");
    }
}

/// Leaves and containers stand once in a place. Entries may have the same keys in an edit, where the mapping takes them
/// one after the other, but not in data; a filter may ask twice.
void Reader::check_alone(const lyd_node& node, const SchemaNode& own, Siblings& siblings) const
{
    const bool may_recur = purpose_ == Purpose::filter || own.kind == NodeKind::leaf_list ||
                           (own.kind == NodeKind::list && (purpose_ == Purpose::edit || own.keys.empty()));
    if (may_recur) {
        return;
    }
    const std::string identity_text = identity(node, own);
    const auto [first, fresh] = siblings.emplace(own.module + ":" + identity_text, &node);
    if (!fresh) {
        document_.fail(node, identity_text + " stands here twice, first on line " +
                                 std::to_string(document_.line_of(*first->second)));
    }
}

/// The element's name; for a list entry with the keys it has.
std::string Reader::identity(const lyd_node& node, const SchemaNode& own) const
{
    std::string text = own.tag;
    for (const std::string& key : own.keys) {
        for (const lyd_node* child = lyd_child(&node); child != nullptr; child = child->next) {
            if (name_of(*child) == key) {
                text += "[" + key + "='" + text_of(*child).value_or("") + "']";
            }
        }
    }
    for (const std::string& key : own.keys) {
        text += text.find("[" + key + "=") == std::string::npos ? "[" + key + " missing]" : "";
    }
    return text;
}

std::optional<std::string> Reader::value(const lyd_node& node, const SchemaNode& own, const lysc_node& compiled) const
{
    auto text = text_of(node);
    if (!is_leaf(own) || purpose_ == Purpose::filter || (purpose_ == Purpose::edit && !text)) {
        return text;
    }
    std::string canonical;
    if (const auto complaint = complain_about(ctx_, compiled, text.value_or(""), canonical)) {
        document_.fail(node, *complaint);
    }
    return canonical;
}

int32_t Reader::operation(const lyd_node& node) const
{
    const auto attribute = netconf_attribute(node, "operation");
    if (purpose_ != Purpose::edit) {
        return ZPF_OP_MERGE;
    }
    if (!attribute) {
        return ZPF_OP_NONE;
    }
    const auto found = find_operation(kOperations, *attribute);
    if (!found) {
        document_.fail(node, "\"" + *attribute + "\" is no operation that can stand here");
    }
    return *found;
}

const lysc_node* Reader::find_compiled(const lysc_node* parent, const SchemaNode& own) const
{
    const lys_module* const module = ly_ctx_get_module_implemented(&ctx_, own.module.c_str());
    return lys_find_child(parent, module, own.tag.c_str(), 0, 0, 0);
}

} // namespace zpf::bridge
