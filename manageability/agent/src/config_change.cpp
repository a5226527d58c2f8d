// SPDX-License-Identifier: Apache-2.0
//
// From the elements of an edit to changes of records.
#include "config_change.hpp"

#include <algorithm>

#include "event.hpp"
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

constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";

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
    return ns == kXmlNamespace || std::any_of(std::begin(kKnown), std::end(kKnown), [&](const auto& known) {
               return known.first == name && known.second == ns;
           });
}

std::string path_below(Element config, Element element)
{
    return element.node() == config.node() ? std::string{}
                                           : path_below(config, element.parent()) + "/" + std::string{element.name()};
}

Refused unknown_attribute(const char* name, const char* message, std::string path, Element element)
{
    RpcError error =
        refused("unknown-attribute", message, std::move(path), std::string{element.name()}).errors().front();
    error.info.insert(error.info.begin(), {"bad-attribute", name});
    return Refused(std::move(error));
}

/// An operation that is not understood, say one without its namespace, must not turn into a merge.
void check_attributes(Element config, Element parent)
{
    for (const Element element : parent.children()) {
        for (const lyd_attr* attribute = element.attributes(); attribute != nullptr; attribute = attribute->next) {
            const char* const ns = attribute->name.module_ns;
            if (!is_known(attribute->name.name, ns != nullptr ? ns : "")) {
                throw unknown_attribute(attribute->name.name, "An element of a configuration has no such attribute.",
                                        path_below(config, element), element);
            }
        }
        check_attributes(config, element);
    }
}

/// Nor must one that stands around everything, which has an element of its own: default-operation.
void check_own_attributes(Element config)
{
    for (const lyd_attr* attribute = config.attributes(); attribute != nullptr; attribute = attribute->next) {
        const char* const ns = attribute->name.module_ns;
        if (ns == nullptr || ns != kXmlNamespace) {
            throw unknown_attribute(attribute->name.name, "The element around a configuration has no such attribute.",
                                    "", config);
        }
    }
}

/// What the elements of one view do to the configuration.
struct Part {
    ChangeMap changes;
    Records named; ///< what there is afterwards of all that the elements speak of
};

/// Puts together what is asked for through the client's model and what is asked for natively, each seen against the
/// configuration before: which of them comes first in a message means nothing. What a view says as it was before may be
/// changed through the other, as by who reads both, changes one and sends both back; all else on which they differ is
/// refused, for one of the two would be acknowledged and lost.
class Union {
public:
    explicit Union(const Yang& yang) : yang_(yang) {}

    ChangeSet of(Part client, Part native) const
    {
        require_kept(client.named, native.changes);
        require_kept(native.named, client.changes);
        ChangeSet set;
        for (auto& [name, value] : client.changes) {
            set.through_client.insert(name);
            set.changes[name] = std::move(value);
        }
        for (auto& [name, value] : native.changes) {
            const auto [place, is_new] = set.changes.emplace(name, value);
            if (!is_new && place->second != value) {
                contradict(name);
            }
        }
        return set;
    }

private:
    /// What one view names must not go through the other, nor anything that it stands in.
    void require_kept(const Records& named, const ChangeMap& changes) const
    {
        for (const auto& [name, value] : named) {
            for (std::size_t end = name.size(); end > kConfigBranch.size(); end = name.rfind('/', end - 1)) {
                const auto change = changes.find(std::string_view{name}.substr(0, end));
                if (change != changes.end() && !change->second) {
                    contradict(name);
                }
            }
        }
    }

    [[noreturn]] void contradict(std::string_view name) const
    {
        throw refused("operation-failed",
                      "The configuration asks for one thing through the client's model and for another one natively.",
                      instance_identifier(yang_, name));
    }

    const Yang& yang_;
};

class Edit {
public:
    Edit(Mapper& mapper, const kelda::Reader& base, Operation default_operation, bool judge, const Author& author)
        : mapper_(mapper), base_(base), default_operation_(default_operation), judge_(judge), author_(author)
    {}

    /// What the elements of the client's model do.
    Part client(Element config) const
    {
        Part part;
        for (const Element top : config.children()) {
            if (is_mapped(mapper_.yang(), top)) {
                apply_mapped(top, part);
            }
        }
        return part;
    }

    /// What all others do.
    Part native(Element config) const
    {
        const Yang& yang = mapper_.yang();
        ConfigEdit edit(yang, base_);
        std::vector<Element> tops;
        for (const Element top : config.children()) {
            if (!is_mapped(yang, top)) {
                edit.prepare(top, default_operation_);
                tops.push_back(top);
            }
        }
        for (const Element top : tops) {
            edit.apply(top, default_operation_);
        }
        Part part;
        part.named = edit.finish(author_.nacm, author_.who, author_.counters, part.changes);
        if (judge_) {
            validate(yang, Overlay(base_, part.changes), part.changes);
        }
        return part;
    }

private:
    void apply_mapped(Element top, Part& part) const
    {
        const Yang& yang = mapper_.yang();
        Tree request;
        add_edit(yang, top, request);
        EditOptions options;
        options.default_operation = mapped(default_operation_);
        options.validate = [&](const Node& after) { return judge_native(yang, after); };
        ChangeMap made;
        {
            const Overlay view(base_, part.changes);
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
            part.named.merge(after);
        }
        for (auto& [name, value] : made) {
            if (!value) {
                part.named.erase(name);
            }
            part.changes[name] = std::move(value);
        }
    }

    Mapper& mapper_;
    const kelda::Reader& base_;
    Operation default_operation_;
    bool judge_;
    const Author& author_;
};

/// Throws unless there is nothing around the elements that would be overlooked.
void check_form(Element config)
{
    if (!config.text().empty()) {
        throw refused("bad-element", "There is text where only elements can stand.", "", "config");
    }
    check_own_attributes(config);
    check_attributes(config, config);
}

} // namespace

ChangeSet change_of(Mapper& mapper, const kelda::Reader& base, Element config, Operation default_operation, bool judge,
                    const Author& author)
{
    check_form(config);
    const Edit edit(mapper, base, default_operation, judge, author);
    return Union(mapper.yang()).of(edit.client(config), edit.native(config));
}

ChangeSet replacement_of(Mapper& mapper, const kelda::Reader& target, Element config, const Author& author)
{
    check_form(config);
    const Yang& yang = mapper.yang();
    const Nothing nothing;
    const Edit anew(mapper, nothing, Operation::merge, false, author);
    Part native = anew.native(config);
    Part client = anew.client(config);
    const bool is_of_both = !native.named.empty() && !client.named.empty();
    if (is_of_both) { // what the client's view does not tell is in the native one
        client = Edit(mapper, target, Operation::replace, false, author).client(config);
    }
    Part& whole = native.named.empty() ? client : native;
    whole.changes = change_to(target, Overlay(nothing, ChangeMap{whole.changes}));
    return Union(yang).of(std::move(client), std::move(native));
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
