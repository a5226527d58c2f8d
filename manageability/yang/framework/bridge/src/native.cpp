// SPDX-License-Identifier: Apache-2.0
//
// Native data from text. Element by element first, so that messages have a line; then whole, for what only libyang
// judges.
#include "document.hpp"
#include "reader.hpp"
#include "zpf_bridge/data.hpp"

namespace zpf::bridge {

namespace {

bool is_wrapper(const lyd_node& node)
{
    return (name_of(node) == "data" || name_of(node) == "config") && is_of(node, "ietf-netconf", kNetconfNamespace);
}

} // namespace

Tree parse_native(const Models& models, std::string_view text, const std::string& source)
{
    const Document document(models, text, source);
    const lyd_node* first = document.first();
    if (first != nullptr && first->next == nullptr && is_wrapper(*first)) {
        first = lyd_child(first);
    }
    Tree tree;
    Reader reader(models, document, Purpose::native, tree);
    for (const lyd_node* node = first; node != nullptr; node = node->next) {
        reader.read_top(*node);
    }
    if (const auto refusal = validate_native(models, tree.root())) {
        throw BadInput(source, 0, refusal->path, refusal->message);
    }
    return tree;
}

} // namespace zpf::bridge
