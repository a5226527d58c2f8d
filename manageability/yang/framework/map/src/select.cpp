// SPDX-License-Identifier: Apache-2.0
//
// Selection of native data in a tree. Entries are taken whole: the reply is cut to the request later, so precision
// below an entry would only cost time.
#include <cstring>

#include "output_lists.hpp"
#include "tree_query.hpp"
#include "zpf_map/driver.hpp"

namespace zpf {

namespace {

/// A selected entry matches when it names a key, and each key that it names has the same value.
bool names(const Node& selected, const Node& entry, const SchemaNode& list)
{
    bool any = false;
    for (const std::string& key : list.keys) {
        const Node* const wanted = key_leaf(selected, key);
        if (wanted == nullptr) {
            continue;
        }
        const Node* const found = key_leaf(entry, key);
        if (found == nullptr || std::strcmp(wanted->_data, found->_data) != 0) {
            return false;
        }
        any = true;
    }
    return any;
}

void select_level(const Node& selection, const Node& data, const SchemaNode* schema, Tree& out, Node& into)
{
    for (const Node& node : children(data)) {
        const std::string_view tag = tag_of(node);
        const SchemaNode* const own = schema ? schema->find(tag) : nullptr;
        for (const Node& wanted : children(selection)) {
            if (!has_tag(wanted, tag)) {
                continue;
            }
            const bool is_list = own != nullptr && own->kind == NodeKind::list;
            if (is_list && !own->keys.empty() && !names(wanted, node, *own)) {
                continue;
            }
            if (is_list || children(wanted).empty() || own == nullptr) {
                out.share(into, node);
            } else {
                select_level(wanted, node, own, out, out.add(into, *own));
            }
            break;
        }
    }
}

} // namespace

void TreeSource::select(const Node& selection, Tree& out) const
{
    for (const Node& top : children(root_)) {
        const Node* const wanted = find_child(selection, tag_of(top));
        const SchemaNode* const own = schema_.find_top(tag_of(top));
        if (answer_ == Answer::everything || (wanted != nullptr && (own == nullptr || children(*wanted).empty()))) {
            out.share(out.root(), top);
        } else if (wanted != nullptr) {
            select_level(*wanted, top, own, out, out.add(out.root(), *own));
        }
    }
}

} // namespace zpf
