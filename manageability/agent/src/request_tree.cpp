// SPDX-License-Identifier: Apache-2.0
//
// From elements to request trees.
#include "request_tree.hpp"

#include <set>

#include <fmt/format.h>

#include "rpc_error.hpp"
#include "subtree_filter.hpp"
#include "zpf_bridge/leaf_value.hpp"

namespace zpf::agent {

namespace {

class EditReader {
public:
    EditReader(const Yang& yang, Tree& request) : yang_(yang), request_(request) {}

    void read_top(Element element)
    {
        const SchemaNode* const own = yang_.schema().find_top(element.name());
        if (own == nullptr) {
            refuse_unknown(element, "");
        }
        read(element, request_.root(), *own, "");
    }

private:
    [[noreturn]] static void refuse_unknown(Element element, const std::string& above)
    {
        throw refused("unknown-element", "The model has no such element here.",
                      above + "/" + std::string{element.name()}, std::string{element.name()});
    }

    void read(Element element, Node& parent, const SchemaNode& own, const std::string& above)
    {
        const std::string path = above + "/" + own.tag + predicates(element, own);
        const bool leaf = own.kind == NodeKind::leaf || own.kind == NodeKind::leaf_list;
        const std::string_view text = element.text();
        if (leaf && element.has_children()) {
            throw refused("bad-element", "A leaf holds a value and no elements.", path, own.tag);
        }
        if (!leaf && !text.empty()) {
            throw refused("bad-element", "There is text where only elements can stand.", path, own.tag);
        }
        if (leaf && !text.empty()) {
            check_value(own, std::string{text}, path);
        }
        Node& made = request_.add(parent, own, text.empty() ? std::nullopt : std::optional<std::string_view>{text},
                                  operation(element, path));
        std::set<std::string> seen;
        for (const Element child : element.children()) {
            const SchemaNode* const below = own.find(child.name());
            if (below == nullptr) {
                refuse_unknown(child, path);
            }
            if (child.ns() != below->ns) {
                RpcError error = refused("unknown-namespace", "The element is of another namespace.",
                                         path + "/" + below->tag, below->tag)
                                     .errors()
                                     .front();
                error.info.emplace_back("bad-namespace", std::string{child.ns()});
                throw Refused(std::move(error));
            }
            const std::string identity = below->tag + predicates(child, *below);
            // Entries may be edited twice, one time after the other.
            const bool may_repeat = below->kind == NodeKind::leaf_list || below->kind == NodeKind::list;
            if (!seen.insert(identity).second && !may_repeat) {
                throw refused("bad-element", "The element stands twice.", fmt::format("{}/{}", path, identity),
                              below->tag);
            }
            read(child, made, *below, path);
        }
    }

    static std::string predicates(Element element, const SchemaNode& own)
    {
        std::string text;
        for (const std::string& key : own.keys) {
            const Element leaf = own.kind == NodeKind::list ? element.child(key, own.find(key)->ns) : Element{};
            if (leaf) {
                text += "[" + key + "='" + std::string{leaf.text()} + "']";
            }
        }
        return text;
    }

    void check_value(const SchemaNode& own, const std::string& text, const std::string& path) const
    {
        const lysc_node* const schema = yang_.compiled(own);
        std::string canonical;
        const auto complaint = schema ? bridge::complain_about(yang_.ctx(), *schema, text, canonical) : std::nullopt;
        if (complaint) {
            throw refused("invalid-value", *complaint, path, own.tag);
        }
    }

    static int32_t operation(Element element, const std::string& path)
    {
        const auto word = element.attribute("operation", kBaseNamespace);
        if (!word) {
            return ZPF_OP_NONE;
        }
        if (*word == "merge") {
            return ZPF_OP_MERGE;
        }
        if (*word == "replace") {
            return ZPF_OP_REPLACE;
        }
        if (*word == "create") {
            return ZPF_OP_CREATE;
        }
        if (*word == "delete") {
            return ZPF_OP_DELETE;
        }
        if (*word == "remove") {
            return ZPF_OP_REMOVE;
        }
        RpcError error = refused("bad-attribute", "\"" + std::string{*word} + "\" is no edit operation.", path,
                                 std::string{element.name()})
                             .errors()
                             .front();
        error.info.insert(error.info.begin(), {"bad-attribute", "operation"});
        throw Refused(std::move(error));
    }

    const Yang& yang_;
    Tree& request_;
};

/// `own` null: the model has no such element; the filter then matches nothing, and the mapping says so.
void read_filter(Element element, Node& parent, const SchemaNode* own, Tree& request)
{
    const std::string_view text = element.text();
    const auto value = text.empty() ? std::nullopt : std::optional<std::string_view>{text};
    // What can match nothing must stand in the request all the same: without it, the element above would select all.
    const bool hopeless = asks_for_attributes(element);
    if (hopeless || (own != nullptr && !element.ns().empty() && element.ns() != own->ns)) {
        own = nullptr;
    }
    const std::string_view ns = hopeless ? kBaseNamespace : element.ns(); // no data are of the base namespace
    Node& made = own != nullptr ? request.add(parent, *own, value) : request.add(parent, element.name(), ns, value);
    for (const Element child : element.children()) {
        read_filter(child, made, own ? own->find(child.name()) : nullptr, request);
    }
}

} // namespace

void add_edit(const Yang& yang, Element top, Tree& request)
{
    EditReader(yang, request).read_top(top);
}

void add_filter(const Yang& yang, Element top, Tree& request)
{
    read_filter(top, request.root(), yang.schema().find_top(top.name()), request);
}

} // namespace zpf::agent
