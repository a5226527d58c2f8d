// SPDX-License-Identifier: Apache-2.0
//
// XML of mapped replies.
#include "reply_printer.hpp"

#include "rpc_error.hpp"
#include "zpf_bridge/leaf_value.hpp"

namespace zpf::agent {

void ReplyPrinter::print(const Node& root, std::string& out,
                         const std::function<void(const std::string& reason)>& left_out)
{
    for (const Node& top : children(root)) {
        if (const SchemaNode* const own = yang_.schema().find_top(tag_of(top))) {
            print(top, *own, nullptr, out, left_out);
        }
    }
}

void ReplyPrinter::print(const Node& node, const SchemaNode& own, const std::string* ns, std::string& out,
                         const std::function<void(const std::string&)>& left_out)
{
    const bool leaf = own.kind == NodeKind::leaf || own.kind == NodeKind::leaf_list;
    const Known* value = nullptr;
    if (leaf) {
        value = &known(own, value_of(node).value_or(""));
        if (!value->complaint.empty()) {
            left_out(own.path() + ": " + value->complaint);
            return;
        }
    }
    out.append("<").append(own.tag);
    if (ns == nullptr || *ns != own.ns) {
        out.append(" xmlns=\"").append(own.ns).append("\"");
    }
    const auto below = children(node);
    if (leaf ? value->escaped.empty() : below.empty()) {
        out.append("/>");
        return;
    }
    out.append(">");
    if (leaf) {
        out.append(value->escaped);
    }
    for (const Node& child : below) {
        if (const SchemaNode* const schema = own.find(tag_of(child))) {
            print(child, *schema, &own.ns, out, left_out);
        }
    }
    out.append("</").append(own.tag).append(">");
}

const ReplyPrinter::Known& ReplyPrinter::known(const SchemaNode& leaf, std::string_view text)
{
    const std::size_t hash = std::hash<std::string_view>{}(text) ^ (reinterpret_cast<std::uintptr_t>(&leaf) >> 6);
    Known& entry = known_[hash % kKnownValues];
    if (entry.leaf == &leaf && entry.text == text) {
        return entry;
    }
    entry.leaf = &leaf;
    entry.text = text;
    entry.escaped.clear();
    entry.complaint.clear();
    const lysc_node* const schema = yang_.compiled(leaf);
    std::string canonical{text};
    if (schema != nullptr) {
        entry.complaint = bridge::complain_about(yang_.ctx(), *schema, entry.text, canonical).value_or("");
    }
    append_escaped(entry.escaped, canonical);
    return entry;
}

} // namespace zpf::agent
