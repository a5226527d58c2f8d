// SPDX-License-Identifier: Apache-2.0
//
// From the elements of an edit to changes of records.
#include "config_change.hpp"

#include <algorithm>

#include "request_tree.hpp"
#include "rpc_error.hpp"
#include "zpf_bridge/build.hpp"
#include "zpf_bridge/data.hpp"

namespace zpf::agent {

namespace {

int32_t mapped(Operation operation)
{
    switch (operation) {
    case Operation::replace:
        return ZPF_OP_REPLACE;
    case Operation::none:
        return ZPF_OP_NONE;
    default:
        return ZPF_OP_MERGE;
    }
}

void add_differences(const Records& before, const Records& after, ChangeMap& changes)
{
    for (const auto& [name, value] : before) {
        if (after.find(name) == after.end()) {
            changes[name] = std::nullopt;
        }
    }
    for (const auto& [name, value] : after) {
        const auto found = before.find(name);
        if (found == before.end() || found->second != value) {
            changes[name] = value;
        }
    }
}

/// True for what the mapping judges: the client's model, and models that no plug-in maps.
bool is_mapped(const Yang& yang, Element top)
{
    const lys_module* const module = yang.module_of_namespace(top.ns());
    const lysc_node* const schema = module ? Yang::top(*module, top.name()) : nullptr;
    return schema != nullptr && (yang.home(*schema) == Home::mapped || yang.home(*schema) == Home::unmapped);
}

/// Judges native data as an edit leaves them. They come from records, of which none is there twice.
std::optional<Refusal> judge_native(const Yang& yang, const Node& root)
{
    for (const Node& top : children(root)) {
        const SchemaNode* const schema = yang.schema().find_top(tag_of(top));
        const lysc_node* const compiled = schema ? yang.compiled(*schema) : nullptr;
        if (compiled == nullptr || !yang.judged_by_values(*compiled)) {
            return bridge::validate_native(yang.models(), root);
        }
    }
    return bridge::check_values(yang.models(), root);
}

[[noreturn]] void deny(const Author& author, const Denied& denied)
{
    ++author.counters.denied_data_writes;
    throw refused("access-denied", "The access rules do not permit this change.", denied.path);
}

/// The rules judge the client's tree, so it is mapped as it was and as it would be.
void check_client_tree(Mapper& mapper, const kelda::Reader& before, const ChangeMap& changes, const Author& author)
{
    if (author.nacm.writes_everything(author.who) || changes.empty()) {
        return;
    }
    const Overlay after(before, changes);
    const bridge::DataPtr old_data = client_config(mapper, before);
    const bridge::DataPtr new_data = client_config(mapper, after);
    if (const auto denied = author.nacm.check_write(author.who, old_data.get(), new_data.get())) {
        deny(author, *denied);
    }
}

/// Attributes that an element of a configuration may have (RFC 6241, 7.2; RFC 7950, 7.8.6; RFC 6243, 6; RFC
/// 8526, 3.1.1; those of XML itself).
bool is_known(std::string_view name, std::string_view ns)
{
    constexpr std::pair<std::string_view, std::string_view> kKnown[] = {
        {"operation", kBaseNamespace},
        {"insert", "urn:ietf:params:xml:ns:yang:1"},
        {"key", "urn:ietf:params:xml:ns:yang:1"},
        {"value", "urn:ietf:params:xml:ns:yang:1"},
        {"default", "urn:ietf:params:xml:ns:netconf:default:1.0"},
        {"default", "urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults"}, // as libyang prints it
        {"origin", "urn:ietf:params:xml:ns:yang:ietf-origin"},
    };
    return ns == "http://www.w3.org/XML/1998/namespace" ||
           std::any_of(std::begin(kKnown), std::end(kKnown),
                       [&](const auto& known) { return known.first == name && known.second == ns; });
}

std::string path_below(Element config, Element element)
{
    return element.node() == config.node() ? std::string{}
                                           : path_below(config, element.parent()) + "/" + std::string{element.name()};
}

/// An operation that is not understood, say one without its namespace, must not turn into a merge.
void check_attributes(Element config, Element parent)
{
    for (const Element element : parent.children()) {
        for (const lyd_attr* attribute = element.attributes(); attribute != nullptr; attribute = attribute->next) {
            const char* const ns = attribute->name.module_ns;
            if (is_known(attribute->name.name, ns != nullptr ? ns : "")) {
                continue;
            }
            RpcError error = refused("unknown-attribute", "An element of a configuration has no such attribute.",
                                     path_below(config, element), std::string{element.name()})
                                 .errors()
                                 .front();
            error.info.insert(error.info.begin(), {"bad-attribute", attribute->name.name});
            throw Refused(std::move(error));
        }
        check_attributes(config, element);
    }
}

class Edit {
public:
    Edit(Mapper& mapper, const kelda::Reader& base, Operation default_operation, bool judge, const Author& author)
        : mapper_(mapper), base_(base), default_operation_(default_operation), judge_(judge), author_(author)
    {}

    ChangeSet run(Element config)
    {
        if (!config.text().empty()) {
            throw refused("bad-element", "There is text where only elements can stand.", "", "config");
        }
        check_attributes(config, config);
        Element top = config.first_child();
        while (top) {
            top = is_mapped(mapper_.yang(), top) ? apply_mapped(top) : apply_kept(top);
        }
        return std::move(set_);
    }

private:
    /// Takes a top element of the client model. @return the one after it
    Element apply_mapped(Element top)
    {
        const Yang& yang = mapper_.yang();
        Tree request;
        add_edit(yang, top, request);
        EditOptions options;
        options.default_operation = mapped(default_operation_);
        options.validate = [&](const Node& after) { return judge_native(yang, after); };
        ChangeMap made;
        {
            const Overlay view(base_, set_.changes);
            const StoreSource source(yang, view, nullptr);
            const EditResult result = mapper_.driver().edit(mapper_.context(), &request.root(), source, options);
            if (result.refusal) {
                throw refused(*result.refusal);
            }
            Records before;
            Records after;
            add_records(yang.schema(), result.before.root(), before);
            add_records(yang.schema(), result.after.root(), after);
            add_differences(before, after, made);
            check_client_tree(mapper_, view, made, author_);
        }
        for (auto& [name, value] : made) {
            set_.through_client.insert(name);
            set_.changes[name] = std::move(value);
        }
        return top.next();
    }

    /// Takes top elements up to the next of the client model. @return that, or the end
    Element apply_kept(Element first)
    {
        const Yang& yang = mapper_.yang();
        ChangeMap made;
        const Overlay view(base_, set_.changes);
        ConfigEdit edit(yang, view);
        Element end = first;
        for (; end && !is_mapped(yang, end); end = end.next()) {
            edit.prepare(end, default_operation_);
        }
        for (Element top = first; top.node() != end.node(); top = top.next()) {
            edit.apply(top, default_operation_);
        }
        edit.finish(author_.nacm, author_.who, author_.counters, made);
        if (judge_) {
            validate(yang, Overlay(view, made), made);
        }
        for (auto& [name, value] : made) {
            set_.changes[name] = std::move(value);
        }
        return end;
    }

    Mapper& mapper_;
    const kelda::Reader& base_;
    Operation default_operation_;
    bool judge_;
    const Author& author_;
    ChangeSet set_;
};

} // namespace

ChangeSet change_of(Mapper& mapper, const kelda::Reader& base, Element config, Operation default_operation, bool judge,
                    const Author& author)
{
    return Edit(mapper, base, default_operation, judge, author).run(config);
}

void check_access(Mapper& mapper, const kelda::Reader& before, const ChangeSet& set, const Author& author)
{
    if (author.nacm.writes_everything(author.who)) {
        return;
    }
    ChangeMap mapped;
    TreeBuilder old_data(mapper.yang());
    TreeBuilder new_data(mapper.yang());
    for (const auto& [name, value] : set.changes) {
        if (set.through_client.count(name) != 0) {
            mapped[name] = value;
            continue;
        }
        if (const auto old_value = before.get(name)) {
            old_data.add(name, *old_value);
        }
        if (value) {
            new_data.add(name, *value);
        }
    }
    check_client_tree(mapper, before, mapped, author);
    const bridge::DataPtr old_tree = old_data.take();
    const bridge::DataPtr new_tree = new_data.take();
    if (const auto denied = author.nacm.check_write(author.who, old_tree.get(), new_tree.get())) {
        deny(author, *denied);
    }
}

ChangeMap change_to(const kelda::Reader& from, const kelda::Reader& to)
{
    ChangeMap changes;
    from.scan(kConfigBranch, [&](std::string_view name, std::string_view) {
        if (!to.get(name)) {
            changes[std::string{name}] = std::nullopt;
        }
        return true;
    });
    to.scan(kConfigBranch, [&](std::string_view name, std::string_view value) {
        if (from.get(name) != value) {
            changes[std::string{name}] = std::string{value};
        }
        return true;
    });
    return changes;
}

bridge::DataPtr client_config(Mapper& mapper, const kelda::Reader& config)
{
    const StoreSource source(mapper.yang(), config, nullptr);
    const Tree everything;
    const ReadResult result =
        mapper.driver().read(mapper.context(), ZPF_REQUEST_GET_CONFIG, &everything.root(), source);
    if (result.refusal) {
        throw refused(*result.refusal);
    }
    return bridge::build_data(mapper.yang().models(), result.reply.root(), [](const bridge::Unfit&) {});
}

} // namespace zpf::agent
