// SPDX-License-Identifier: Apache-2.0
//
// Edits of kept configuration (RFC 6241, 7.2; RFC 7950, 7.8.6 for places in lists).
#include "config_edit.hpp"

#include <algorithm>

#include <fmt/format.h>

#include "rpc_error.hpp"
#include "zpf_bridge/leaf_value.hpp"

namespace zpf::agent {

namespace {

constexpr std::string_view kYangNamespace = "urn:ietf:params:xml:ns:yang:1";

/// Where the element stands, entries told apart by their keys.
std::string local_path(const Yang& yang, Element element)
{
    std::vector<Element> chain;
    for (Element at = element; at && at.ns() != kBaseNamespace; at = at.parent()) {
        chain.insert(chain.begin(), at);
    }
    std::string path;
    const lysc_node* schema = nullptr;
    for (const Element at : chain) {
        const lys_module* const module = yang.module_of_namespace(at.ns());
        schema = module == nullptr                   ? nullptr
                 : schema == nullptr && path.empty() ? Yang::top(*module, at.name())
                 : schema == nullptr                 ? nullptr
                                                     : Yang::child(*schema, at.name(), module);
        path.append("/").append(at.name());
        const lysc_node* key = schema && schema->nodetype == LYS_LIST ? lysc_node_child(schema) : nullptr;
        for (; key != nullptr && is_key(*key); key = key->next) {
            if (const Element leaf = at.child(key->name, key->module->ns)) {
                path.append("[").append(key->name).append("='").append(leaf.text()).append("']");
            }
        }
    }
    return path;
}

Operation operation_of(const Yang& yang, Element element, Operation inherited)
{
    const auto word = element.attribute("operation", kBaseNamespace);
    if (!word) {
        return inherited;
    }
    const auto operation = find_operation(*word);
    if (!operation || *operation == Operation::none) {
        RpcError error = refused("bad-attribute", "\"" + std::string{*word} + "\" is no edit operation.",
                                 local_path(yang, element), std::string{element.name()})
                             .errors()
                             .front();
        error.info.insert(error.info.begin(), {"bad-attribute", "operation"});
        throw Refused(std::move(error));
    }
    return *operation;
}

[[noreturn]] void refuse_value(const Yang& yang, Element element)
{
    throw refused("invalid-value", bridge::last_complaint(yang.ctx()).reason, local_path(yang, element),
                  std::string{element.name()});
}

/// Values of the keys that the element gives, in the model's order; stops at the first that is missing.
std::vector<std::string> keys_of(Element element, const lysc_node& list)
{
    std::vector<std::string> keys;
    for (const lysc_node* key = lysc_node_child(&list); key != nullptr && is_key(*key); key = key->next) {
        const Element leaf = element.child(key->name, key->module->ns);
        if (!leaf) {
            break;
        }
        keys.emplace_back(leaf.text());
    }
    return keys;
}

/// The same as names of records have them; nothing unless all are there and are what the model takes.
std::optional<std::vector<std::string>> canonical_keys(const Yang& yang, Element element, const lysc_node& list)
{
    std::vector<std::string> keys = keys_of(element, list);
    std::size_t count = 0;
    for (const lysc_node* key = lysc_node_child(&list); key != nullptr && is_key(*key); key = key->next, ++count) {
        if (count >= keys.size()) {
            return std::nullopt;
        }
        std::string canonical;
        if (bridge::complain_about(yang.ctx(), *key, keys[count], canonical)) {
            return std::nullopt;
        }
        keys[count] = std::move(canonical);
    }
    return keys;
}

const lysc_node* first_missing_key(Element element, const lysc_node& list)
{
    for (const lysc_node* key = lysc_node_child(&list); key != nullptr && is_key(*key); key = key->next) {
        if (!element.child(key->name, key->module->ns)) {
            return key;
        }
    }
    return nullptr;
}

/// Schema of a child element; throws Refused when there is none, or none that can be configured.
const lysc_node& child_schema(const Yang& yang, Element element, const lysc_node& parent)
{
    const lys_module* const module = yang.module_of_namespace(element.ns());
    if (module == nullptr) {
        RpcError error = refused("unknown-namespace", "No model has this namespace.", local_path(yang, element),
                                 std::string{element.name()})
                             .errors()
                             .front();
        error.info.emplace_back("bad-namespace", std::string{element.ns()});
        throw Refused(std::move(error));
    }
    const lysc_node* const schema = Yang::child(parent, element.name(), module);
    if (schema == nullptr || !yang.is_config(*schema)) {
        throw refused("unknown-element",
                      schema ? "State data cannot be configured." : "The model has no such element here.",
                      local_path(yang, element), std::string{element.name()});
    }
    return *schema;
}

/// RFC 6243, 4.5.2; the namespace of the module is how libyang prints the tag.
bool is_tagged_default(Element element)
{
    const auto tag = element.attribute("default", "urn:ietf:params:xml:ns:netconf:default:1.0");
    const auto printed = element.attribute("default", "urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults");
    const std::string_view word = tag ? *tag : printed.value_or("false");
    return word == "true" || word == "1";
}

bool is_in_case(const lysc_node& node)
{
    return node.parent != nullptr && node.parent->nodetype == LYS_CASE;
}

/// True when the nodes stand in different cases of one choice, which cannot both be there (RFC 7950, 7.9).
bool exclude_each_other(const lysc_node& one, const lysc_node& other)
{
    for (const lysc_node* a = &one; is_in_case(*a); a = a->parent->parent) {
        for (const lysc_node* b = &other; is_in_case(*b); b = b->parent->parent) {
            if (a->parent != b->parent && a->parent->parent == b->parent->parent) {
                return true;
            }
        }
    }
    return false;
}

bool takes_away(Element element)
{
    const auto word = element.attribute("operation", kBaseNamespace);
    return word && (*word == "delete" || *word == "remove");
}

/// The entry that an insertion is told to go before or after: "[key='value']" with or without prefixes, or a value.
lyd_node* find_anchor(lyd_node* first, std::string_view where)
{
    std::string given;
    for (const char c : where) {
        given.push_back(c == '"' ? '\'' : c);
        const auto bracket = given.rfind('[');
        if (c == ':' && bracket != std::string::npos && given.find('=', bracket) == std::string::npos) {
            given.resize(bracket + 1); // a prefix
        }
    }
    for (lyd_node* entry = first; entry != nullptr && entry->schema == first->schema; entry = entry->next) {
        if (entry->schema->nodetype == LYS_LEAFLIST) {
            if (where == lyd_get_value(entry)) {
                return entry;
            }
            continue;
        }
        std::string identity;
        for (lyd_node* key = lyd_child(entry); key != nullptr && is_key(*key->schema); key = key->next) {
            identity.append("[").append(key->schema->name).append("='").append(lyd_get_value(key)).append("']");
        }
        if (given == identity) {
            return entry;
        }
    }
    return nullptr;
}

/// libyang makes nodes below the top in their place only; whether they stay there is decided later.
bridge::DataPtr detached(lyd_node* made, const lyd_node* parent)
{
    if (made != nullptr && parent != nullptr) {
        lyd_unlink_tree(made);
    }
    return bridge::DataPtr{made};
}

} // namespace

const lysc_node& ConfigEdit::top_schema(Element top) const
{
    const lys_module* const module = yang_.module_of_namespace(top.ns());
    if (module == nullptr) {
        RpcError error = refused("unknown-namespace", "No model has this namespace.", local_path(yang_, top),
                                 std::string{top.name()})
                             .errors()
                             .front();
        error.info.emplace_back("bad-namespace", std::string{top.ns()});
        throw Refused(std::move(error));
    }
    const lysc_node* const schema = Yang::top(*module, top.name());
    if (schema == nullptr || !yang_.is_config(*schema)) {
        throw refused("unknown-element", schema ? "State data cannot be configured." : "The model has no such element.",
                      local_path(yang_, top), std::string{top.name()});
    }
    return *schema;
}

void ConfigEdit::prepare(Element top, Operation default_operation)
{
    const lysc_node& schema = top_schema(top);
    const std::string name = record_name(schema);
    if (yang_.judged_whole(schema)) {
        load_once(name);
        return;
    }
    load(top, schema, name, operation_of(yang_, top, default_operation) == Operation::replace);
}

/// Loads the part of the configuration that the element reaches: whole where something is replaced or removed.
void ConfigEdit::load(Element element, const lysc_node& schema, std::string name, bool whole)
{
    if (schema.nodetype == LYS_LIST) {
        const auto keys = canonical_keys(yang_, element, schema);
        if (!keys) {
            return; // apply() refuses it
        }
        char separator = '=';
        for (const std::string& key : *keys) {
            name.push_back(separator);
            append_encoded(name, key);
            separator = ',';
        }
    } else if (schema.nodetype == LYS_LEAFLIST) {
        return load_once(name.substr(0, name.rfind('/')));
    }
    const auto word = element.attribute("operation", kBaseNamespace);
    if (whole || (word && *word != "merge") || (schema.nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0) {
        return load_once(name);
    }
    if (const auto own = base_.get(name)) {
        loader_.add(name, *own);
    }
    for (const Element child : element.children()) {
        const lysc_node& below = child_schema(yang_, child, schema);
        if (is_key(below)) {
            continue;
        }
        if (is_in_case(below)) {
            return load_once(name); // its other cases go when it comes
        }
        const std::string step = below.module == schema.module ? std::string{below.name}
                                                               : fmt::format("{}:{}", below.module->name, below.name);
        load(child, below, fmt::format("{}/{}", name, step), false);
    }
}

void ConfigEdit::load_once(const std::string& name)
{
    if (loaded_.insert(name).second) {
        loader_.load(base_, name);
    }
}

void ConfigEdit::start()
{
    before_ = loader_.take();
    lyd_node* copy = nullptr;
    if (before_ && lyd_dup_siblings(before_.get(), nullptr, LYD_DUP_RECURSIVE, &copy) != LY_SUCCESS) {
        throw std::bad_alloc();
    }
    after_.reset(copy);
    started_ = true;
}

void ConfigEdit::apply(Element top, Operation default_operation)
{
    if (!started_) {
        start();
    }
    apply(top, top_schema(top), nullptr, default_operation);
}

void ConfigEdit::apply(Element element, const lysc_node& schema, lyd_node* parent, Operation inherited)
{
    const Operation operation = operation_of(yang_, element, inherited);
    bridge::DataPtr fresh = make(element, schema, parent);
    lyd_node* found = find(*fresh, parent);
    const bool leaf = (schema.nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0;
    if (takes_away(element) && found == nullptr && replaced_.count({parent, &schema}) != 0) {
        return; // it was there, and has gone already
    }
    if (operation == Operation::remove_what_is_there && found == nullptr) {
        throw refused("data-missing", "There is nothing to delete here.", local_path(yang_, element),
                      std::string{element.name()});
    }
    if (operation == Operation::remove_what_is_there || operation == Operation::remove_if_there) {
        return remove(found);
    }
    const bool counts = leaf || schema.nodetype == LYS_LIST || (schema.flags & LYS_PRESENCE) != 0;
    if (operation == Operation::create && found != nullptr && (counts || lyd_child(found) != nullptr)) {
        throw refused("data-exists", "This is there already.", local_path(yang_, element), std::string{element.name()});
    }
    if (operation == Operation::none && found == nullptr && counts) {
        throw refused("data-missing", "This is not there, and the edit does not make it.", local_path(yang_, element),
                      std::string{element.name()});
    }
    if (leaf) {
        if (operation == Operation::none) {
            return;
        }
        if (is_tagged_default(element)) {
            if (lyd_is_default(fresh.get()) == 0) {
                throw refused("invalid-value", "The value is tagged as the default, but is not.",
                              local_path(yang_, element), std::string{element.name()});
            }
            remove(found); // goes back to what holds without it
        } else {
            apply_leaf(element, std::move(fresh), parent, found);
        }
        return;
    }
    if (operation == Operation::replace && found != nullptr) {
        lyd_node* next = nullptr;
        for (lyd_node* child = lyd_child_no_keys(found); child != nullptr; child = next) {
            next = child->next;
            lyd_free_tree(child);
        }
    }
    lyd_node* const node = found ? found : insert(std::move(fresh), parent);
    place(element, *node);
    apply_inner(element, *node, operation == Operation::none ? Operation::none : Operation::merge);
}

void ConfigEdit::apply_leaf(Element element, bridge::DataPtr fresh, lyd_node* parent, lyd_node* found)
{
    if (found == nullptr) {
        place(element, *insert(std::move(fresh), parent));
    } else if (fresh->schema->nodetype == LYS_LEAFLIST) {
        place(element, *found);
    } else if (lyd_compare_single(found, fresh.get(), 0) != LY_SUCCESS || (found->flags & LYD_DEFAULT) != 0) {
        remove(found);
        insert(std::move(fresh), parent);
    }
}

void ConfigEdit::apply_inner(Element element, lyd_node& node, Operation operation)
{
    if (!element.text().empty()) {
        throw refused("bad-element", "There is text where only elements can stand.", local_path(yang_, element),
                      std::string{element.name()});
    }
    std::vector<const lysc_node*> chosen; // nodes of cases
    std::set<const lysc_node*> leaves;
    for (const Element child : element.children()) {
        const lysc_node& schema = child_schema(yang_, child, *node.schema);
        if (schema.nodetype == LYS_LEAF && !leaves.insert(&schema).second) {
            throw refused("bad-element", "The leaf stands twice.", local_path(yang_, child), std::string{child.name()});
        }
        if (is_in_case(schema) && !takes_away(child)) {
            if (std::any_of(chosen.begin(), chosen.end(),
                            [&](const lysc_node* other) { return exclude_each_other(*other, schema); })) {
                throw refused("bad-element", "Data of two cases of a choice stand side by side.", // RFC 7950, 8.3.1
                              local_path(yang_, child), std::string{child.name()});
            }
            if (chosen.empty() || chosen.back() != &schema) {
                chosen.push_back(&schema);
            }
        }
        if (!is_key(schema)) {
            apply(child, schema, &node, operation);
        } else if (takes_away(child)) {
            throw refused("operation-not-supported", "A key is removed with its entry only.", local_path(yang_, child),
                          std::string{child.name()});
        }
    }
}

/// The element alone: a leaf with its value, an entry with its keys, a container without anything.
bridge::DataPtr ConfigEdit::make(Element element, const lysc_node& schema, lyd_node* parent) const
{
    lyd_node* made = nullptr;
    if (schema.nodetype == LYS_LIST) {
        if (const lysc_node* const missing = first_missing_key(element, schema)) {
            throw refused("missing-element", "The entry lacks its key \"" + std::string{missing->name} + "\".",
                          local_path(yang_, element), missing->name);
        }
        bridge::DataPtr entry = new_entry(schema, keys_of(element, schema), parent);
        if (!entry) {
            refuse_value(yang_, element);
        }
        return entry;
    }
    if (schema.nodetype == LYS_CONTAINER) {
        lyd_new_inner(parent, schema.module, schema.name, 0, &made);
        return detached(made, parent);
    }
    if ((schema.nodetype & (LYS_LEAF | LYS_LEAFLIST)) == 0) {
        throw refused("operation-not-supported", "Data of this kind cannot be edited here.", local_path(yang_, element),
                      std::string{element.name()});
    }
    if (element.has_children()) {
        throw refused("bad-element", "A leaf holds a value and no elements.", local_path(yang_, element),
                      std::string{element.name()});
    }
    const auto operation = element.attribute("operation", kBaseNamespace);
    const bool goes = operation && (*operation == "delete" || *operation == "remove");
    const auto base = reinterpret_cast<const lysc_node_leaf&>(schema).type->basetype;
    const std::string value{base == LY_TYPE_STRING ? element.raw_text() : element.text()};
    if (goes && value.empty() && schema.nodetype == LYS_LEAF) {
        // Which value goes does not matter; any will do to find the leaf.
        lyd_new_opaq2(nullptr, &yang_.ctx(), schema.name, nullptr, nullptr, schema.module->ns, &made);
        return bridge::DataPtr{made};
    }
    if (value.find(':') != std::string::npos) {
        return parse_leaf(element, schema, parent);
    }
    if (lyd_new_term(parent, schema.module, schema.name, value.c_str(), 0, &made) != LY_SUCCESS) {
        refuse_value(yang_, element);
    }
    return detached(made, parent);
}

/// Prefixes in a value mean what the message says; libyang's XML parser knows how to read them.
bridge::DataPtr ConfigEdit::parse_leaf(Element element, const lysc_node& schema, lyd_node* parent) const
{
    char* raw = nullptr;
    lyd_print_mem(&raw, element.node(), LYD_XML, LYD_PRINT_SHRINK);
    const bridge::TextPtr text{raw};
    ly_in* handle = nullptr;
    if (raw == nullptr || ly_in_new_memory(raw, &handle) != LY_SUCCESS) {
        throw std::bad_alloc();
    }
    const std::unique_ptr<ly_in, void (*)(ly_in*)> in(handle, [](ly_in* done) { ly_in_free(done, 0); });
    lyd_node* parsed = nullptr;
    const LY_ERR rc =
        lyd_parse_data(&yang_.ctx(), parent, in.get(), LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_STRICT, 0, &parsed);
    // With a parent the parser hands nothing back; what it has made is the last of its kind.
    for (lyd_node* child = rc == LY_SUCCESS && parent ? lyd_child(parent) : nullptr; child != nullptr;
         child = child->next) {
        parsed = child->schema == &schema ? child : parsed;
    }
    if (rc != LY_SUCCESS || parsed == nullptr) {
        refuse_value(yang_, element);
    }
    return detached(parsed, parent);
}

lyd_node* ConfigEdit::find(const lyd_node& like, lyd_node* parent) const
{
    lyd_node* const siblings = parent ? lyd_child(parent) : after_.get();
    lyd_node* found = nullptr;
    if (siblings == nullptr) {
        return nullptr;
    }
    if (like.schema == nullptr) { // a leaf that goes, whatever its value
        for (lyd_node* node = siblings; node != nullptr; node = node->next) {
            if (node->schema != nullptr &&
                std::string_view{node->schema->name} == reinterpret_cast<const lyd_node_opaq&>(like).name.name) {
                return node;
            }
        }
        return nullptr;
    }
    if (like.schema->nodetype == LYS_LEAF || like.schema->nodetype == LYS_CONTAINER) {
        lyd_find_sibling_val(siblings, like.schema, nullptr, 0, &found);
    } else {
        lyd_find_sibling_first(siblings, &like, &found);
    }
    return found;
}

lyd_node* ConfigEdit::insert(bridge::DataPtr fresh, lyd_node* parent)
{
    const bool counts = fresh->schema->nodetype != LYS_CONTAINER || (fresh->schema->flags & LYS_PRESENCE) != 0;
    if (counts) {
        remove_other_cases(*fresh->schema, parent);
    }
    lyd_node* const node = fresh.release();
    if (parent != nullptr) {
        lyd_insert_child(parent, node);
    } else {
        lyd_node* first = after_.release();
        lyd_insert_sibling(first, node, &first);
        after_.reset(first);
    }
    return node;
}

/// What is made takes the place of the other cases of its choice (RFC 7950, 7.9), and so do the containers without
/// presence that lead to it.
void ConfigEdit::remove_other_cases(const lysc_node& schema, lyd_node* parent)
{
    if (is_in_case(schema)) {
        lyd_node* next = nullptr;
        for (lyd_node* node = parent ? lyd_child(parent) : after_.get(); node != nullptr; node = next) {
            next = node->next;
            if (exclude_each_other(*node->schema, schema)) {
                replaced_.insert({parent, node->schema});
                remove(node);
            }
        }
    }
    if (parent != nullptr && parent->schema->nodetype == LYS_CONTAINER) {
        remove_other_cases(*parent->schema, lyd_parent(parent));
    }
}

void ConfigEdit::remove(lyd_node* node)
{
    if (node == nullptr) {
        return;
    }
    if (node == after_.get()) {
        lyd_node* const next = node->next;
        static_cast<void>(after_.release());
        after_.reset(next);
        lyd_unlink_tree(node);
    }
    lyd_free_tree(node);
}

/// Where users order a list, an edit may say where the entry goes; a new one goes last.
void ConfigEdit::place(Element element, lyd_node& node) const
{
    const auto insert = element.attribute("insert", kYangNamespace);
    if (!insert || (node.schema->flags & LYS_ORDBY_USER) == 0) {
        return;
    }
    lyd_node* first = lyd_first_sibling(&node);
    while (first != nullptr && first->schema != node.schema) {
        first = first->next;
    }
    if (*insert == "first") {
        if (first != &node) {
            lyd_insert_before(first, &node);
        }
        return;
    }
    lyd_node* last = first;
    while (last->next != nullptr && last->next->schema == node.schema) {
        last = last->next;
    }
    if (*insert == "last") {
        if (last != &node) {
            lyd_insert_after(last, &node);
        }
        return;
    }
    const bool leaf_list = node.schema->nodetype == LYS_LEAFLIST;
    const auto where = element.attribute(leaf_list ? "value" : "key", kYangNamespace);
    lyd_node* const anchor = where ? find_anchor(first, *where) : nullptr;
    if ((*insert != "before" && *insert != "after") || anchor == nullptr || anchor == &node) {
        RpcError error =
            refused("bad-attribute",
                    "There is no entry \"" + std::string{where.value_or("")} + "\" to insert before or after.",
                    local_path(yang_, element), std::string{element.name()})
                .errors()
                .front();
        error.app_tag = "missing-instance"; // RFC 7950, 15.7
        throw Refused(std::move(error));
    }
    *insert == "before" ? lyd_insert_before(anchor, &node) : lyd_insert_after(anchor, &node);
}

Records ConfigEdit::finish(const Nacm& nacm, const Who& who, NacmCounters& counters, ChangeMap& changes)
{
    if (!started_) {
        return {};
    }
    if (!nacm.writes_everything(who)) {
        if (const auto denied = nacm.check_write(who, before_.get(), after_.get())) {
            ++counters.denied_data_writes;
            throw refused("access-denied", "The access rules do not permit this change.", denied->path);
        }
    }
    Records before;
    Records after;
    add_records(before_.get(), before);
    add_records(after_.get(), after);
    for (const auto& [name, value] : before) {
        if (after.find(name) == after.end()) {
            changes[name] = std::nullopt;
        }
    }
    for (auto& [name, value] : after) {
        const auto found = before.find(name);
        if (found == before.end() || found->second != value) {
            changes[name] = value;
        }
    }
    return after;
}

} // namespace zpf::agent
