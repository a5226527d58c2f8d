// SPDX-License-Identifier: Apache-2.0
//
// Read requests compiled.
#include <charconv>
#include <set>

#include "read.hpp"
#include "records.hpp"
#include "request_tree.hpp"
#include "rpc_error.hpp"
#include "subtree_filter.hpp"
#include "xpath_text.hpp"

namespace zpf::agent {

namespace {

constexpr std::string_view kWithDefaults = "urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults";

/// Refuses children of an operation that it does not have, or has once only.
void check_children(Element operation, std::initializer_list<std::string_view> known)
{
    std::set<std::string_view> seen;
    for (const Element child : operation.children()) {
        bool found = child.is("with-defaults", kWithDefaults);
        for (const std::string_view name : known) {
            found = found || (child.name() == name && child.ns() == operation.ns());
        }
        if (!found) {
            throw refused_protocol("unknown-element", "The operation has no such parameter.",
                                   std::string{child.name()});
        }
        const bool may_repeat = child.name() == "origin-filter" || child.name() == "negated-origin-filter";
        if (!seen.insert(child.name()).second && !may_repeat) {
            throw refused_protocol("bad-element", "The parameter stands twice.", std::string{child.name()});
        }
    }
}

/// "prefix:name", the prefix left out.
std::string_view local_part(std::string_view text)
{
    const auto colon = text.find(':');
    return colon == std::string_view::npos ? text : text.substr(colon + 1);
}

/// Throws Refused for an expression that cannot be evaluated, whatever data there will be.
void check_expression(const Yang& yang, const std::string& xpath)
{
    lyd_node* any = nullptr;
    lyd_new_path(nullptr, &yang.ctx(), "/zpf-agent:agent", nullptr, 0, &any);
    bridge::DataPtr probe{any};
    keep_selected(yang, xpath, probe);
}

/// Record of the place that plain XPath steps lead to, as far as they can be followed.
std::vector<std::string> record_names(const Yang& yang, const lysc_node& top, const std::vector<XPathStep>& steps)
{
    std::string name = record_name(top);
    const lysc_node* schema = &top;
    for (std::size_t i = 1; i < steps.size(); ++i) {
        const XPathStep& step = steps[i];
        const lys_module* const module = step.module.empty() ? schema->module : yang.module(step.module);
        const lysc_node* const below = module ? Yang::child(*schema, step.name, module) : nullptr;
        if (below == nullptr || (below->flags & LYS_CONFIG_R) != 0) {
            return {};
        }
        if (is_key(*below)) {
            break;
        }
        name += "/";
        if (below->module != schema->module) {
            name.append(below->module->name).append(":");
        }
        name += below->name;
        schema = below;
        if (schema->nodetype == LYS_LEAFLIST) {
            return {name + "="};
        }
        char separator = '=';
        for (const lysc_node* key = schema->nodetype == LYS_LIST ? lysc_node_child(schema) : nullptr;
             key != nullptr && is_key(*key); key = key->next) {
            const std::string* value = nullptr;
            for (const auto& [key_name, key_value] : step.keys) {
                value = key_name == key->name ? &key_value : value;
            }
            if (value == nullptr) {
                return {name.substr(0, name.rfind('=') < name.rfind('/') ? std::string::npos : name.rfind('=')) + "="};
            }
            name.push_back(separator);
            append_encoded(name, *value);
            separator = ',';
        }
    }
    return {name};
}

/// A request tree from plain XPath steps.
void add_steps(const SchemaNode& top, const std::vector<XPathStep>& steps, Tree& request)
{
    Node* node = &request.add(request.root(), top);
    const SchemaNode* own = &top;
    for (std::size_t i = 1; i < steps.size(); ++i) {
        const SchemaNode* const below = own->find(steps[i].name);
        if (below == nullptr || own->is_key(below->tag)) {
            return;
        }
        node = &request.add(*node, *below);
        own = below;
        for (const auto& [key, value] : steps[i].keys) {
            const SchemaNode* const leaf = own->find(key);
            if (leaf != nullptr && own->is_key(key)) {
                request.add(*node, *leaf, value);
            }
        }
    }
}

} // namespace

std::optional<std::string_view> select_of(Element filter)
{
    const auto attribute = [&](std::string_view name) {
        const auto plain = filter.attribute(name);
        return plain ? plain : filter.attribute(name, kBaseNamespace);
    };
    const std::string_view type = attribute("type").value_or("subtree");
    if (type == "subtree") {
        return std::nullopt;
    }
    if (type == "xpath") {
        const auto select = attribute("select");
        if (!select) {
            RpcError error = refused_protocol("missing-attribute", "An XPath filter has its expression in \"select\".")
                                 .errors()
                                 .front();
            error.info = {{"bad-attribute", "select"}, {"bad-element", "filter"}};
            throw Refused(std::move(error));
        }
        return select;
    }
    RpcError error = refused_protocol("bad-attribute", "A filter's type is \"subtree\" or \"xpath\".").errors().front();
    error.info = {{"bad-attribute", "type"}, {"bad-element", "filter"}};
    throw Refused(std::move(error));
}

std::string checked_xpath(const Yang& yang, Element holder, std::string_view expression)
{
    if (expression.find_first_not_of(" \t\r\n") == std::string_view::npos) {
        throw refused_protocol("invalid-value", "The XPath expression is empty.", "filter");
    }
    if (calls(expression, "deref")) { // libyang 2.1 reads memory that is not there when the leaf is no reference
        throw refused_protocol("invalid-value", "The XPath function \"deref\" is not available.", "filter");
    }
    char* raw = nullptr;
    lyd_print_mem(&raw, holder.node(), LYD_XML, LYD_PRINT_SHRINK);
    const bridge::TextPtr printed{raw};
    const std::string_view text = raw ? raw : "";
    std::string xpath = with_module_names(yang, expression, declared_prefixes(text.substr(0, text.find('>'))));
    check_expression(yang, xpath);
    return xpath;
}

ReadPlan::ReadPlan(const Yang& yang, std::shared_ptr<const Message> message, Element operation)
    : message_(std::move(message)), element_(operation), data_namespace_(operation.ns())
{
    const std::string_view name = operation.name();
    if (name == "get") {
        check_children(operation, {"filter"});
        state_ = true;
        datastore_ = Datastore::operational;
    } else if (name == "get-config") {
        check_children(operation, {"source", "filter"});
    } else {
        check_children(operation, {"datastore", "subtree-filter", "xpath-filter", "config-filter", "origin-filter",
                                   "negated-origin-filter", "max-depth", "with-origin", "with-defaults"});
    }
    read_datastore(yang, operation);
    with_defaults_ = with_defaults_of(operation, name == "get-data" ? operation.ns() : kWithDefaults);
    read_filter(yang, operation);
    mapped_only_ = parts_.size() == 1 && yang.home(*parts_.front().top) == Home::mapped && xpath_.empty() &&
                   with_defaults_ == WithDefaults::explicit_only && levels_ == 0 && config_;
}

void ReadPlan::read_datastore(const Yang&, Element operation)
{
    if (operation.name() == "get") {
        return;
    }
    const bool nmda = operation.name() == "get-data";
    const Element holder = operation.child(nmda ? "datastore" : "source");
    const Element source = nmda ? holder : holder ? holder.first_child() : Element{};
    if (!source) {
        throw refused_protocol("missing-element", "The request does not say which datastore it reads.",
                               nmda ? "datastore" : "source");
    }
    if (!nmda && source.next()) {
        throw refused_protocol("bad-element", "One datastore is read at a time.", std::string{source.next().name()});
    }
    const std::string_view word = nmda ? local_part(source.text()) : source.name();
    if (word == "running" || (nmda && word == "intended")) {
        datastore_ = Datastore::running;
    } else if (word == "candidate") {
        datastore_ = Datastore::candidate;
    } else if (nmda && word == "operational") {
        datastore_ = Datastore::operational;
        state_ = true;
    } else {
        throw refused_protocol("invalid-value", "There is no datastore \"" + std::string{word} + "\" here.",
                               std::string{holder.name()});
    }
    if (!nmda) {
        return;
    }
    values_in_use_ = datastore_ == Datastore::operational;
    if (values_in_use_ && operation.child("with-defaults")) { // RFC 8526, 3.1.1.2
        throw refused_protocol("invalid-value", "The operational datastore has one way to report defaults.",
                               "with-defaults");
    }
    if (const Element wanted = operation.child("config-filter")) {
        if (wanted.text() != "true" && wanted.text() != "false") {
            throw refused_protocol("invalid-value", "\"true\" or \"false\".", "config-filter");
        }
        state_ = state_ && wanted.text() != "true";
        config_ = wanted.text() != "false";
    }
    if (const Element depth = operation.child("max-depth"); depth && depth.text() != "unbounded") {
        const std::string_view text = depth.text();
        const auto end = std::from_chars(text.data(), text.data() + text.size(), levels_);
        if (end.ec != std::errc{} || end.ptr != text.data() + text.size() || levels_ == 0 || levels_ > 65535) {
            throw refused_protocol("invalid-value", "The depth is a number from 1 to 65535, or \"unbounded\".",
                                   "max-depth");
        }
    }
    for (const char* name : {"with-origin", "origin-filter", "negated-origin-filter"}) {
        if (operation.child(name)) {
            throw refused_protocol("operation-not-supported", "Origins are not reported.", name);
        }
    }
}

void ReadPlan::read_filter(const Yang& yang, Element operation)
{
    const bool nmda = operation.name() == "get-data";
    if (nmda) {
        const Element xpath = operation.child("xpath-filter");
        const Element subtree = operation.child("subtree-filter");
        if (xpath && subtree) {
            throw refused_protocol("bad-element", "A read has one filter, a subtree or an expression.", "xpath-filter");
        }
        if (xpath) {
            read_xpath(yang, xpath, xpath.text());
        } else if (subtree) {
            read_subtree(yang, subtree);
        } else {
            add_everything(yang);
        }
        return;
    }
    const Element filter = operation.child("filter");
    if (!filter) {
        add_everything(yang);
        return;
    }
    if (const auto select = select_of(filter)) {
        read_xpath(yang, filter, *select);
    } else {
        read_subtree(yang, filter);
    }
}

bool ReadPlan::reaches(const Yang& yang, const lysc_node& top) const
{
    if (yang.home(top) == Home::unmapped) {
        return false;
    }
    return yang.is_config(top) ? config_ || state_ : state_;
}

void ReadPlan::add_part(const Yang& yang, const lysc_node& top, std::vector<std::string> names)
{
    if (!reaches(yang, top)) {
        return;
    }
    for (Part& part : parts_) {
        if (part.top == &top) {
            part.names.insert(part.names.end(), names.begin(), names.end());
            return;
        }
    }
    parts_.push_back({&top, std::move(names)});
}

void ReadPlan::add_everything(const Yang& yang)
{
    client_everything_ = true;
    for (const lysc_node* top : yang.tops()) {
        add_part(yang, *top, {record_name(*top)});
    }
}

void ReadPlan::read_subtree(const Yang& yang, Element filter)
{
    filter_ = filter;
    filtered_ = true;
    for (const Element element : filter.children()) {
        if (asks_for_attributes(element)) {
            continue;
        }
        for (const lysc_node* top : yang.tops()) {
            if (element.name() != top->name || (!element.ns().empty() && element.ns() != top->module->ns)) {
                continue;
            }
            if (yang.home(*top) == Home::mapped && !client_everything_) {
                add_filter(yang, element, client_request_);
            }
            std::vector<std::string> names;
            if (yang.is_config(*top)) {
                add_record_names(element, *top, record_name(*top), names);
            }
            add_part(yang, *top, std::move(names));
        }
    }
}

void ReadPlan::read_xpath(const Yang& yang, Element holder, std::string_view expression)
{
    if (expression == "/") { // the root: all there is
        add_everything(yang);
        return;
    }
    xpath_ = checked_xpath(yang, holder, expression);
    filtered_ = true;
    const auto paths = plain_paths(xpath_);
    for (const auto& steps : paths) {
        for (const lysc_node* top : yang.tops()) {
            const bool named = steps.front().name == top->name &&
                               (steps.front().module.empty() || steps.front().module == top->module->name);
            if (!named) {
                continue;
            }
            const SchemaNode* const mapped =
                yang.home(*top) == Home::mapped ? yang.schema().find_top(top->name) : nullptr;
            if (mapped != nullptr) {
                add_steps(*mapped, steps, client_request_);
            }
            add_part(yang, *top, yang.is_config(*top) ? record_names(yang, *top, steps) : std::vector<std::string>{});
        }
    }
    if (paths.empty()) {
        add_everything(yang);
        client_request_ = Tree{};
    }
}

} // namespace zpf::agent
